#pragma once
// One filter cube: excitation filter, dichroic mirror and barrier filter, with
// their texts and the colours the light path drawing paints them in.
// (The class name keeps its double l.)
//
// Codes of Reiki and Kyusyu: 0 and 1 no filter; 2 to 240 a catalogue filter
// whose wavelengths stand in EXName / BAName; 241 to 249 a filter defined by
// the operator, only its stored colour counts.
#include <QString>
#include <cstdint>

class clsDefFillterCasette {
public:
    // Cube catalogue number, the key into the colour table (1 to 249); 0 and 1
    // mean no usable cube.
    int16_t Number() const { return m_Number; }
    void setNumber(int16_t p_intNumber) { m_Number = p_intNumber; }
    QString Name() const { return m_Name; }
    void setName(const QString& p_szName) { m_Name = p_szName; }
    int16_t Reiki() const { return m_Reiki; }
    void setReiki(int16_t p_intReiki) { m_Reiki = p_intReiki; }
    QString EXName() const { return m_EXName; }
    void setEXName(const QString& p_szName) { m_EXName = p_szName; }
    int16_t DM() const { return m_DM; }
    void setDM(int16_t p_intDM) { m_DM = p_intDM; }
    QString DMName() const { return m_DMName; }
    void setDMName(const QString& p_szName) { m_DMName = p_szName; }
    int16_t Kyusyu() const { return m_Kyusyu; }
    void setKyusyu(int16_t p_intKyusyu) { m_Kyusyu = p_intKyusyu; }
    QString BAName() const { return m_BAName; }
    void setBAName(const QString& p_szName) { m_BAName = p_szName; }
    // Colours are 0x00BBGGRR; -1 is what a cancelled colour dialog leaves.
    int32_t BaColor() const { return m_BaColor; }
    void setBaColor(int32_t p_lngColor) { m_BaColor = p_lngColor; }
    int32_t ExColor() const { return m_ExColor; }
    void setExColor(int32_t p_lngColor) { m_ExColor = p_lngColor; }
    // 1 when the operator chose the colour, 0 when it is derived.
    int16_t E_SET() const { return m_E_SET; }
    void setE_SET(int16_t p_intSet) { m_E_SET = p_intSet; }
    int16_t B_SET() const { return m_B_SET; }
    void setB_SET(int16_t p_intSet) { m_B_SET = p_intSet; }

    // Stores the five; the part names and colours stay.
    void SetData(int16_t p_intNumber, const QString& p_szName, int16_t p_intReiki, int16_t p_intDM,
                 int16_t p_intKyusyu);
    // Takes Number, Name, Reiki, DM, Kyusyu; part names and colours do not travel.
    void Copy(const clsDefFillterCasette& p_oCell);
    // Number, Name (exactly), Reiki, DM and Kyusyu match.
    bool Compare(const clsDefFillterCasette& p_oCell) const;
    // The three codes match; Number and Name are not looked at.
    bool IsEqualParam(int16_t p_intReiki, int16_t p_intDM, int16_t p_intKyusyu) const;
    // Reiki, DM, Kyusyu each at least two digits: 5, 12, 240 give "0512240".
    QString GetOpeStr() const;

private:
    int16_t m_Number = 0;
    QString m_Name;
    int16_t m_Reiki = 0;
    QString m_EXName;
    int16_t m_DM = 0;
    QString m_DMName;
    int16_t m_Kyusyu = 0;
    QString m_BAName;
    int32_t m_BaColor = 0xFFFFFF;
    int32_t m_ExColor = 0xFFFFFF;
    int16_t m_E_SET = 0;
    int16_t m_B_SET = 0;
};
