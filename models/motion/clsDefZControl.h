#pragma once
// The focus drive (mZ): position in raw counts, the operator's origin, the
// movable range, the step and one remembered focus position per nosepiece
// address. It owns the only count-to-micrometre arithmetic of the Z axis:
// one count is exactly 0.05 um.
#include <QString>
#include <cstdint>

class clsDefZControl {
public:
    // The operator's Operating Range in counts, written from the scroll
    // widget when the setting button is released. Plain, unchecked.
    int32_t curScllMax = 0;
    int32_t curScllMin = 0;

    // This value as a focus position means nothing is stored for the objective.
    static constexpr int32_t kNoFocusPosition = -900000;

    int32_t UpperLimit() const { return m_UpperLimit; }
    // Stored only within MIN..MAX; anything else is ignored silently.
    void setUpperLimit(int32_t p_lngUpperLimit);
    // The count shown as 0 um. Stored only within MIN..MAX; anything else is
    // ignored silently (the count-clear action lifts MAX for a moment).
    int32_t ORGIN() const { return m_ORGIN; }
    void setORGIN(int32_t p_lngOrgin);
    int16_t LINK() const { return m_LINK; }
    void setLINK(int16_t p_intLink) { m_LINK = p_intLink; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    int16_t ERROR() const { return m_ERROR; }
    void setERROR(int16_t p_intError) { m_ERROR = p_intError; }
    // Reads 1 or 0 (an index into the escape button's two pictures); any
    // non-zero value written sets it.
    int16_t Esc() const { return m_Esc ? 1 : 0; }
    void setEsc(int16_t p_intEsc) { m_Esc = (p_intEsc != 0); }

    // Count_um with exactly two decimals, cut and never rounded: 12.5 gives
    // "12.50", -0.05 "-0.05". The caller adds " um".
    QString Format_Count() const;
    // The cutting of Format_Count on a number's text: split at the literal
    // "."; no fraction gives text + ".00", else the first two decimals padded
    // with "0". A text with a "," for its decimal point has no "." and so
    // becomes the whole text and ".00".
    static QString Format_CountText(const QString& numberText);
    // (Value - ORGIN) x 0.05; the subtraction overflows as 32-bit arithmetic
    // (RunTimeError Overflow).
    double Count_um() const;
    // Value := round(v x 0.05) half to even. Multiplies as the reader does,
    // and ignores ORGIN: the asymmetry is the drive's own.
    void setCount_um(double v);
    // Value (not from ORGIN) in a 9-character field: right-aligned for >= 0,
    // "-" in the first column and the digits right-aligned after it otherwise.
    QString Count_9b() const;

    int32_t STEP() const { return m_STEP; }
    void setSTEP(int32_t p_lngStep) { m_STEP = p_lngStep; }
    int32_t MAX() const { return m_MAX; }
    void setMAX(int32_t p_lngMax) { m_MAX = p_lngMax; }
    int32_t MIN() const { return m_MIN; }
    void setMIN(int32_t p_lngMin) { m_MIN = p_lngMin; }
    int32_t Value() const { return m_Value; }
    void setValue(int32_t p_lngCount) { m_Value = p_lngCount; }
    int16_t SPEED() const { return m_SPEED; }
    void setSPEED(int16_t p_intSpeed) { m_SPEED = p_intSpeed; }

    // The limits -510000 and 250000 narrowed to 16 bits: both always throw
    // RunTimeError(Overflow). The limits that count are MIN and MAX.
    int16_t COUNTMin() const;
    int16_t COUNTMax() const;
    // A digit text whose 32-bit value lies within -510000..250000 (literal
    // bounds, not MIN/MAX). Beyond 32 bits throws Overflow.
    bool Count_Check(const QString& p_strCount) const;
    // A digit text that is exactly "0" or "1".
    bool RevoLIMIT_Check(const QString& p_strRevo) const;
    // A digit text of 0 to 2 (16-bit conversion).
    bool SPEED_Chk(const QString& p_strSpeed) const;
    // A digit text of 1 to 9 (16-bit conversion).
    bool ERROR_Check(const QString& p_strError) const;
    // Value +/- n in checked 32-bit arithmetic, no range check.
    void Count_UP(int32_t n);
    void Count_DOWN(int32_t n);

    // Addresses 1 to 7 only; any other address stores nothing, and Get
    // leaves pPosition as it was.
    void FocusPos_Put(int16_t pAddress, int32_t pPosition);
    void FocusPos_Get(int16_t pAddress, int32_t& pPosition) const;

private:
    int32_t m_UpperLimit = 0;
    int32_t m_ORGIN = 0;
    int16_t m_LINK = 0;
    int16_t m_SETUP = 0;
    int16_t m_ERROR = 0;
    bool m_Esc = false;
    int32_t m_STEP = 0;
    int32_t m_MAX = 250000;
    int32_t m_MIN = -510000;
    int32_t m_Value = 0;
    int16_t m_SPEED = 0;
    int32_t m_focusPos[7] = {0, 0, 0, 0, 0, 0, 0}; // addresses 1 to 7
};
