#pragma once
// A numbered, named catalogue item, such as a condenser module.
#include <QString>
#include <cstdint>

class clsDefBase {
public:
    int16_t Number() const { return m_Number; }
    void setNumber(int16_t p_intNumber) { m_Number = p_intNumber; }
    QString Name() const { return m_Name; }
    void setName(const QString& p_szName) { m_Name = p_szName; }

    void SetData(int16_t p_intNumber, const QString& p_szName);
    // Takes Number and Name from the item given.
    void Copy(const clsDefBase& p_oCell);
    // Number and Name both equal (the name exactly, case counts).
    bool Compare(const clsDefBase& p_oCell) const;

private:
    int16_t m_Number = 0;
    QString m_Name;
};
