#pragma once
// The lamp: voltage limits from the service (0 until the status read), the
// voltage, on/off, feedback and preset states.
#include <QString>
#include <cstdint>

class clsDefLamp {
public:
    double MIN() const { return m_MIN; }
    void setMIN(double p_dblMin) { m_MIN = p_dblMin; }
    double MAX() const { return m_MAX; }
    void setMAX(double p_dblMax) { m_MAX = p_dblMax; }
    int16_t FBack() const { return m_FBack; }
    void setFBack(int16_t p_intFBack) { m_FBack = p_intFBack; }
    // 0 lamp off, otherwise on.
    int16_t ONOFF() const { return m_ONOFF; }
    void setONOFF(int16_t p_intOnOff) { m_ONOFF = p_intOnOff; }
    double POWER() const { return m_POWER; }
    void setPOWER(double p_dblPower) { m_POWER = p_dblPower; }
    double AMOUNT() const { return m_AMOUNT; }
    void setAMOUNT(double p_dblAmount) { m_AMOUNT = p_dblAmount; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    int16_t Preset() const { return m_Preset; }
    void setPreset(int16_t p_intPreset) { m_Preset = p_intPreset; }

    // POWER in its shortest text, with ".0" added when it has no point:
    // 3.2 gives "3.2", 3 gives "3.0".
    QString strPOWER() const;
    // False unless the text is digits. The range test after that never fails,
    // so every digit text that fits 16 bits passes ("0" and "99" too); beyond
    // 32767 the conversion throws Overflow.
    bool Range_chk(const QString& p_strRange) const;
    // Only digits and "." allowed; then the text as a Single within the limits
    // rounded to Single. "1.2.3" passes the character test and throws
    // TypeMismatch in the conversion.
    bool Power_Check(const QString& p_strPower) const;

private:
    double m_MIN = 0;
    double m_MAX = 0;
    int16_t m_FBack = 0;
    int16_t m_ONOFF = 0;
    double m_POWER = 3.0;
    double m_AMOUNT = 0.1;
    int16_t m_SETUP = 0;
    int16_t m_Preset = 0;
};
