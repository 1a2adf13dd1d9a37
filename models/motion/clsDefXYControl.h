#pragma once
// The motorised stage (mXY): both axes side by side, counts, origins,
// ranges, steps, one offset pair per nosepiece address and five memory
// positions. One count is exactly 0.5 um on both axes.
#include <QString>
#include <cstdint>

class clsDefXYControl {
public:
    // Memory positions 0 to 4; -1 means empty. Outside 0..4 reads 0 and
    // writing does nothing.
    int32_t XMemoryPos(int16_t i) const;
    void setXMemoryPos(int16_t i, int32_t p_lngPos);
    int32_t YMemoryPos(int16_t i) const;
    void setYMemoryPos(int16_t i, int32_t p_lngPos);

    int32_t XSCLMAX() const { return m_XSCLMAX; }
    void setXSCLMAX(int32_t v) { m_XSCLMAX = v; }
    int32_t XSCLMIN() const { return m_XSCLMIN; }
    void setXSCLMIN(int32_t v) { m_XSCLMIN = v; }
    int32_t YSCLMAX() const { return m_YSCLMAX; }
    void setYSCLMAX(int32_t v) { m_YSCLMAX = v; }
    int32_t YSCLMIN() const { return m_YSCLMIN; }
    void setYSCLMIN(int32_t v) { m_YSCLMIN = v; }
    // Counts shown as 0 um; no check.
    int32_t XORGIN() const { return m_XORGIN; }
    void setXORGIN(int32_t v) { m_XORGIN = v; }
    int32_t YORGIN() const { return m_YORGIN; }
    void setYORGIN(int32_t v) { m_YORGIN = v; }

    // One position pair per nosepiece address 1 to 7. Outside that range
    // reads 0 and writing does nothing.
    int32_t XOffset(int16_t i) const;
    void setXOffset(int16_t i, int32_t v);
    int32_t YOffset(int16_t i) const;
    void setYOffset(int16_t i, int32_t v);

    int32_t XSTEP() const { return m_XSTEP; }
    void setXSTEP(int32_t v) { m_XSTEP = v; }
    int32_t YSTEP() const { return m_YSTEP; }
    void setYSTEP(int32_t v) { m_YSTEP = v; }
    int32_t XMAX() const { return m_XMAX; }
    void setXMAX(int32_t v) { m_XMAX = v; }
    int32_t XMIN() const { return m_XMIN; }
    void setXMIN(int32_t v) { m_XMIN = v; }
    int32_t YMAX() const { return m_YMAX; }
    void setYMAX(int32_t v) { m_YMAX = v; }
    int32_t YMIN() const { return m_YMIN; }
    void setYMIN(int32_t v) { m_YMIN = v; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    int16_t ERROR() const { return m_ERROR; }
    void setERROR(int16_t p_intError) { m_ERROR = p_intError; }

    // (count - origin) x 0.5; the subtraction overflows as 32-bit arithmetic.
    double XCount_um() const;
    double YCount_um() const;
    int32_t XCount() const { return m_XCount; }
    int32_t YCount() const { return m_YCount; }
    void setXCount(int32_t p_lngCount) { m_XCount = p_lngCount; }
    void setYCount(int32_t p_lngCount) { m_YCount = p_lngCount; }
    int16_t SPEED() const { return m_SPEED; }
    void setSPEED(int16_t p_intSpeed) { m_SPEED = p_intSpeed; }

    int32_t XCOUNTMax() const { return 780000; }
    int32_t YCOUNTMax() const { return 260000; }
    // Digit text of 0..780000 / 0..260000 (32-bit conversion; beyond throws
    // Overflow). Stage counts are never negative here.
    bool XCount_Chk(const QString& text) const;
    bool YCount_Chk(const QString& text) const;
    // Digit text of 0..2, and of 0..9 (the focus drive's error check starts at 1).
    bool SPEED_Chk(const QString& text) const;
    bool ERROR_Chk(const QString& text) const;
    // "x,y,speed,error": the four checks in that order, stopping at the first
    // failure. Fewer than four fields throws RunTimeError(SubscriptOutOfRange).
    bool ALL_chk(const QString& text) const;
    // The um figure's shortest text, ".0" added when it has no fraction:
    // always one decimal, since a count is 0.5 um.
    QString Format_XCount() const;
    QString Format_YCount() const;

private:
    int32_t m_XMemoryPos[5] = {-1, -1, -1, -1, -1};
    int32_t m_YMemoryPos[5] = {-1, -1, -1, -1, -1};
    int32_t m_XSCLMAX = 0;
    int32_t m_XSCLMIN = 0;
    int32_t m_YSCLMAX = 0;
    int32_t m_YSCLMIN = 0;
    int32_t m_XORGIN = 0;
    int32_t m_YORGIN = 0;
    int32_t m_XOffset[7] = {0, 0, 0, 0, 0, 0, 0}; // addresses 1 to 7
    int32_t m_YOffset[7] = {0, 0, 0, 0, 0, 0, 0};
    int32_t m_XSTEP = 0;
    int32_t m_YSTEP = 0;
    int32_t m_XMAX = 0;
    int32_t m_XMIN = 0;
    int32_t m_YMAX = 0;
    int32_t m_YMIN = 0;
    int16_t m_SETUP = 0;
    int16_t m_ERROR = 0;
    int32_t m_XCount = 0;
    int32_t m_YCount = 0;
    int16_t m_SPEED = 0;
};
