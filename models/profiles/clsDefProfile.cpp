#include "models/profiles/clsDefProfile.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"

namespace {
int checkedAddress(int16_t address) {
    if (address < 0 || address > 7)
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return address;
}
} // namespace

void clsDefProfile::Put_UmemAS(int16_t ObjAddress, double pValue) { m_UmemAS[checkedAddress(ObjAddress)] = pValue; }
double clsDefProfile::Get_UmemAS(int16_t ObjAddress) const { return m_UmemAS[checkedAddress(ObjAddress)]; }
void clsDefProfile::Put_UmemFS(int16_t ObjAddress, double pValue) { m_UmemFS[checkedAddress(ObjAddress)] = pValue; }
double clsDefProfile::Get_UmemFS(int16_t ObjAddress) const { return m_UmemFS[checkedAddress(ObjAddress)]; }
void clsDefProfile::Put_UmemND(int16_t ObjAddress, double pValue) { m_UmemND[checkedAddress(ObjAddress)] = pValue; }
double clsDefProfile::Get_UmemND(int16_t ObjAddress) const { return m_UmemND[checkedAddress(ObjAddress)]; }

void clsDefProfile::Get_ObservationPosition(int32_t selectOb, int32_t pLamp, int32_t pND, int32_t pFS,
                                            int32_t pCon, int32_t pAS, int32_t pfilter, int32_t pShutter,
                                            int32_t pAna, int32_t pObj, int32_t pPath, int32_t pZoom) {
    (void)selectOb;
    m_Obj_ADDRESS = pObj;
    m_Filter_ADDRESS = pfilter;
    m_Cond_ADDRESS = pCon;
    m_PATH = vb::toInt16(pPath);
    m_ZOOM = pZoom;
    m_ANALYZER = pAna;
    m_AStop = pAS;
    m_FStop = pFS;
    m_ND = pND;
    m_LAMP = pLamp;
    m_SHUTTER = pShutter;
}

void clsDefProfile::Read_ObservationPosition(int32_t selectOb, int32_t& pLamp, int32_t& pND, int32_t& pFS,
                                             int32_t& pCon, int32_t& pAS, int32_t& pfilter,
                                             int32_t& pShutter, int32_t& pAna, int32_t& pObj,
                                             int32_t& pPath, int32_t& pZoom) const {
    (void)selectOb;
    pObj = m_Obj_ADDRESS;
    pfilter = m_Filter_ADDRESS;
    pCon = m_Cond_ADDRESS;
    pPath = m_PATH;
    pZoom = m_ZOOM;
    pAna = m_ANALYZER;
    pAS = m_AStop;
    pFS = m_FStop;
    pND = m_ND;
    pLamp = m_LAMP;
    pShutter = m_SHUTTER;
}

QString clsDefProfile::strSHUTTER() const {
    switch (m_SHUTTER) {
    case 0: return QStringLiteral("CLOSE");
    case 1: return QStringLiteral("OPEN");
    case -1: return QStringLiteral("No Device");
    default: return QStringLiteral("UnKnown");
    }
}

QString clsDefProfile::strANALYZER() const {
    switch (m_ANALYZER) {
    case 0: return QStringLiteral("OUT");
    case 1: return QStringLiteral("IN");
    case -1: return QStringLiteral("No Device");
    default: return QStringLiteral("UnKnown");
    }
}

QString clsDefProfile::strPATH() const {
    switch (m_PATH) {
    case -1: return QStringLiteral("No Device");
    case 1: return QStringLiteral("BINOCULAR");
    case 2: return QStringLiteral("REAR Port");
    case 3: return QStringLiteral("FRONT Port");
    default: return QStringLiteral("UnKnown");
    }
}

QString clsDefProfile::strSYSTEM() const {
    QString text;
    if (m_MIC == 1)
        text = QStringLiteral("Q7s +");
    if (m_HBX_A == 1)
        text += QStringLiteral("HBX-A");
    // The second test looks at HBX_A again, so HBX-B follows HBX-A.
    if (m_HBX_A == 1)
        text += QStringLiteral("HBX-B");
    return text;
}
