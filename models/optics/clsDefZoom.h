#pragma once
// The optical zoom: limits from the service, the current factor, the offset
// index and the scroll step. Limits stay 0 until the status read fills them.
#include <QString>
#include <cstdint>

class clsDefZoom {
public:
    double MIN() const { return m_MIN; }
    void setMIN(double p_dblMin) { m_MIN = p_dblMin; }
    double MAX() const { return m_MAX; }
    void setMAX(double p_dblMax) { m_MAX = p_dblMax; }
    double ZOOM() const { return m_ZOOM; }
    void setZOOM(double p_dblZoom) { m_ZOOM = p_dblZoom; }
    int16_t Offset() const { return m_Offset; }
    void setOffset(int16_t p_intOffset) { m_Offset = p_intOffset; }
    double AMOUNT() const { return m_AMOUNT; }
    void setAMOUNT(double p_dblAmount) { m_AMOUNT = p_dblAmount; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    int16_t LINK() const { return m_LINK; }
    void setLINK(int16_t p_intLink) { m_LINK = p_intLink; }

    // The text as a Single, compared with both limits rounded to Single. No
    // digit test first: text that is no number throws TypeMismatch.
    bool ZOOM_Chk(const QString& text) const;
    // Digit text passes for 0 to 9; any other text passes (see OffsetShape_Chk).
    bool Offset_Chk(const QString& text) const;

private:
    double m_MIN = 0;
    double m_MAX = 0;
    double m_ZOOM = 0.8;
    int16_t m_Offset = 0;
    double m_AMOUNT = 0;
    int16_t m_SETUP = 0;
    int16_t m_LINK = 0;
};
