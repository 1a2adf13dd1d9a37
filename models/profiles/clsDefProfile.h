#pragma once
// The panel's copy of one user observation method (observation 7 to 12):
// where each motorised device goes when the method is selected. Each field is
// a small command code, so a method can also leave a device as it is.
//
// Stop codes (AStop, FStop, ND): 0 "Not Move", 1 "UserMemory", 2 "Objective",
// 3 "All Open" (not for ND). LAMP 0/3 on/4 off; ANALYZER 0/3 in/4 out;
// SHUTTER 0/3 open/4 close (-1 no such device); PATH 0 or port 1 to 3;
// ZOOM 0 or n for the factor (n + 7) / 10; Cond_ADDRESS 1 BF, 2 DF, 3 DIC,
// 4 Ph, n > 4 condenser address n - 4. Address fields: 0 means no move.
#include <QString>
#include <cstdint>

class clsDefProfile {
public:
    int32_t OBSERVATION() const { return m_OBSERVATION; }
    void setOBSERVATION(int32_t p_intObserve) { m_OBSERVATION = p_intObserve; }
    QString Name() const { return m_Name; }
    void setName(const QString& p_strName) { m_Name = p_strName; }
    int32_t Obj_ADDRESS() const { return m_Obj_ADDRESS; }
    void setObj_ADDRESS(int32_t p_intObj) { m_Obj_ADDRESS = p_intObj; }
    int32_t Filter_ADDRESS() const { return m_Filter_ADDRESS; }
    void setFilter_ADDRESS(int32_t p_intFilter) { m_Filter_ADDRESS = p_intFilter; }
    int32_t Cond_ADDRESS() const { return m_Cond_ADDRESS; }
    void setCond_ADDRESS(int32_t p_intCond) { m_Cond_ADDRESS = p_intCond; }
    int32_t AStop() const { return m_AStop; }
    void setAStop(int32_t v) { m_AStop = v; }
    int32_t FStop() const { return m_FStop; }
    void setFStop(int32_t v) { m_FStop = v; }
    int32_t ND() const { return m_ND; }
    void setND(int32_t v) { m_ND = v; }
    int32_t LAMP() const { return m_LAMP; }
    void setLAMP(int32_t v) { m_LAMP = v; }
    int32_t ANALYZER() const { return m_ANALYZER; }
    void setANALYZER(int32_t pAna) { m_ANALYZER = pAna; }
    int32_t SHUTTER() const { return m_SHUTTER; }
    void setSHUTTER(int32_t pShutter) { m_SHUTTER = pShutter; }
    int16_t PATH() const { return m_PATH; }
    void setPATH(int16_t pPath) { m_PATH = pPath; }
    int32_t ZOOM() const { return m_ZOOM; }
    void setZOOM(int32_t pZoom) { m_ZOOM = pZoom; }
    // How the record was taken; these go to the file, not to the service.
    int16_t MIC() const { return m_MIC; }
    void setMIC(int16_t p_intMinc) { m_MIC = p_intMinc; }
    int16_t HBX_B() const { return m_HBX_B; }
    void setHBX_B(int16_t p_intHBXB) { m_HBX_B = p_intHBXB; }
    int16_t HBX_A() const { return m_HBX_A; }
    void setHBX_A(int16_t p_intHBXA) { m_HBX_A = p_intHBXA; }
    int16_t Obj_Link() const { return m_Obj_Link; }
    void setObj_Link(int16_t v) { m_Obj_Link = v; }
    int16_t Path_Link() const { return m_Path_Link; }
    void setPath_Link(int16_t v) { m_Path_Link = v; }
    int16_t Zoom_Link() const { return m_Zoom_Link; }
    void setZoom_Link(int16_t v) { m_Zoom_Link = v; }

    // User memory per objective address 0 to 7; any other index throws
    // RunTimeError(SubscriptOutOfRange). Address 0 is allowed, although
    // addresses start at 1.
    void Put_UmemAS(int16_t ObjAddress, double pValue);
    double Get_UmemAS(int16_t ObjAddress) const;
    void Put_UmemFS(int16_t ObjAddress, double pValue);
    double Get_UmemFS(int16_t ObjAddress) const;
    void Put_UmemND(int16_t ObjAddress, double pValue);
    double Get_UmemND(int16_t ObjAddress) const;

    // Stores the eleven values, in the argument order of the service's
    // ObservationPosition. selectOb is not used. pPath goes into the 16-bit
    // PATH (beyond 16 bits throws Overflow, before anything after
    // Cond_ADDRESS is stored).
    void Get_ObservationPosition(int32_t selectOb, int32_t pLamp, int32_t pND, int32_t pFS, int32_t pCon,
                                 int32_t pAS, int32_t pfilter, int32_t pShutter, int32_t pAna, int32_t pObj,
                                 int32_t pPath, int32_t pZoom);
    // Gives the same eleven values back through the same arguments.
    void Read_ObservationPosition(int32_t selectOb, int32_t& pLamp, int32_t& pND, int32_t& pFS,
                                  int32_t& pCon, int32_t& pAS, int32_t& pfilter, int32_t& pShutter,
                                  int32_t& pAna, int32_t& pObj, int32_t& pPath, int32_t& pZoom) const;

    // SHUTTER as the service's state: 0 "CLOSE", 1 "OPEN", -1 "No Device".
    QString strSHUTTER() const;
    // ANALYZER as the service's state: 0 "OUT", 1 "IN", -1 "No Device".
    QString strANALYZER() const;
    // -1 "No Device", 1 "BINOCULAR", 2 "REAR Port", 3 "FRONT Port" (2 is the
    // rear port here, unlike the light path panel's labels).
    QString strPATH() const;
    // "Q7s +" for MIC 1, then "HBX-A" and "HBX-B" both when HBX_A is 1:
    // HBX_B is never looked at.
    QString strSYSTEM() const;

private:
    int32_t m_OBSERVATION = 0;
    QString m_Name = QStringLiteral("User");
    int32_t m_Obj_ADDRESS = 1;
    int32_t m_Filter_ADDRESS = 1;
    int32_t m_Cond_ADDRESS = 1;
    int32_t m_AStop = 0;
    int32_t m_FStop = 0;
    int32_t m_ND = 0;
    int32_t m_LAMP = 0;
    int32_t m_ANALYZER = 0;
    int32_t m_SHUTTER = 0;
    int16_t m_PATH = 0;
    int32_t m_ZOOM = 0;
    int16_t m_MIC = 1;
    int16_t m_HBX_B = 1;
    int16_t m_HBX_A = 1;
    int16_t m_Obj_Link = 0;
    int16_t m_Path_Link = 0;
    int16_t m_Zoom_Link = 0;
    double m_UmemAS[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    double m_UmemFS[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    double m_UmemND[8] = {0, 0, 0, 0, 0, 0, 0, 0};
};
