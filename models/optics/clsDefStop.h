#pragma once
// A continuous device with a memory per observation method and objective:
// aperture stop, field stop, epi field stop, ND filter. Starts with usable
// limits of its own (2.0 to 30.6).
#include <QString>
#include <cstdint>

class clsDefStop {
public:
    static constexpr int kObservations = 13; // observation 0 to 12
    static constexpr int kAddresses = 8;     // objective address 0 to 7

    clsDefStop();

    double MIN() const { return m_MIN; }
    void setMIN(double p_dblMin) { m_MIN = p_dblMin; }
    double MAX() const { return m_MAX; }
    void setMAX(double p_dblMax) { m_MAX = p_dblMax; }
    double AMOUNT() const { return m_AMOUNT; }
    void setAMOUNT(double p_dblAmount) { m_AMOUNT = p_dblAmount; }
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    double Diameter() const { return m_Diameter; }
    void setDiameter(double p_dblDiameter) { m_Diameter = p_dblDiameter; }
    int16_t Offset() const { return m_Offset; }
    void setOffset(int16_t p_intOffset) { m_Offset = p_intOffset; }

    // The text as a Double within MIN..MAX; text that is no number throws
    // TypeMismatch.
    bool Diameter_Chk(const QString& text) const;
    // Digit text passes for 0 to 9; any other text passes (see OffsetShape_Chk).
    bool Offset_Chk(const QString& text) const;
    // The factor of an offset index: 1.00 for 0 down by 0.05 to 0.55 for 9,
    // 0 for anything else. Index -1 means the object's own Offset.
    double OffsetValue(int16_t index = -1) const;

    // The remembered value of an observation method and objective address.
    // Outside 0..12 or 0..7 throws RunTimeError(SubscriptOutOfRange).
    double Memory_Get(int16_t p_Observation, int16_t p_Address) const;
    void Memory_Put(int16_t p_Observation, int16_t p_Address, double p_Value);

private:
    double m_MIN = 2.0;
    double m_MAX = 30.6;
    double m_AMOUNT = 0.1;
    int16_t m_SETUP = 0;
    double m_Diameter = 2.0;
    int16_t m_Offset = 0;
    double m_memory[kObservations][kAddresses];
};
