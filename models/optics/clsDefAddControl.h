#pragma once
// A device with numbered positions ("addresses"): nosepiece, filter cube
// cassette, condenser. Holds the last address the service reported, its
// limits and the link flag; validates what the operator types. Setters store
// without checking; only the _Check function looks at the limits.
#include <QString>
#include <cstdint>

class clsDefAddControl {
public:
    int16_t Address() const { return m_Address; }
    void setAddress(int16_t p_intAddress) { m_Address = p_intAddress; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    int16_t MAX() const { return m_MAX; }
    void setMAX(int16_t p_intMax) { m_MAX = p_intMax; }
    // One below the lowest address a turn reaches.
    int16_t MIN() const { return m_MIN; }
    void setMIN(int16_t p_intMin) { m_MIN = p_intMin; }
    int16_t STEP() const { return m_STEP; }
    void setSTEP(int16_t p_intStep) { m_STEP = p_intStep; }
    int16_t PreADD() const { return m_PreADD; }
    void setPreADD(int16_t p_intPreADD) { m_PreADD = p_intPreADD; }
    int16_t LINK() const { return m_LINK; }
    void setLINK(int16_t p_intLink) { m_LINK = p_intLink; }

    // A digit text whose value lies in MIN..MAX. MIN itself passes, although
    // no turn ever reaches it. A digit text beyond 32767 throws Overflow.
    bool ADDRESS_Check(const QString& text) const;
    // The address after this one: Address + 1, wrapping to MIN + 1 beyond MAX.
    // Answers only; Address is not changed.
    int16_t ADDRESS_Turn() const;
    // The address before this one: Address - 1, wrapping to MAX when that is
    // not above MIN. Answers only; Address is not changed.
    int16_t Address_Reverse() const;

private:
    int16_t m_Address = 1;
    int16_t m_SETUP = 0;
    int16_t m_MAX = 6;
    int16_t m_MIN = 0;
    int16_t m_STEP = 1;
    int16_t m_PreADD = 0;
    int16_t m_LINK = 1;
};
