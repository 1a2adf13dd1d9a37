#pragma once
// The light path drive: fitted state, current port and the link option.
#include <QString>
#include <cstdint>

class clsDefLightPath {
public:
    int16_t SETUP() const { return m_SETUP; }
    void setSETUP(int16_t p_intSetup) { m_SETUP = p_intSetup; }
    // Port 1, 2 or 3.
    int16_t PATH() const { return m_PATH; }
    void setPATH(int16_t p_intPath) { m_PATH = p_intPath; }
    // Kept as a flag: writing 1 sets it, any other value clears it; reads 1 or 0.
    int16_t LINK() const { return m_LINK ? 1 : 0; }
    void setLINK(int16_t p_intLink) { m_LINK = (p_intLink == 1); }

    // A digit text of 1 to 3. A digit text beyond 32767 throws Overflow.
    bool Path_Chk(const QString& text) const;
    // Digit text passes for 0 to 9; any other text passes (see OffsetShape_Chk).
    bool Offset_Chk(const QString& text) const;
    // The port's label: 0 "Unknown", 1 "Binocular", 2 "Front P", 3 "Rear P",
    // any other "".
    QString PathName_Get() const;

private:
    int16_t m_SETUP = 0;
    int16_t m_PATH = 1;
    bool m_LINK = false;
};
