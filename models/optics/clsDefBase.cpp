#include "models/optics/clsDefBase.h"

void clsDefBase::SetData(int16_t p_intNumber, const QString& p_szName) {
    m_Number = p_intNumber;
    m_Name = p_szName;
}

void clsDefBase::Copy(const clsDefBase& p_oCell) {
    m_Number = p_oCell.m_Number;
    m_Name = p_oCell.m_Name;
}

bool clsDefBase::Compare(const clsDefBase& p_oCell) const {
    return m_Number == p_oCell.m_Number && m_Name == p_oCell.m_Name;
}
