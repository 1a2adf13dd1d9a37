#include "models/optics/clsDefFillterCasette.h"

namespace {
// At least two digits, a leading zero where shorter; the sign stays in front.
QString twoDigits(int16_t code) {
    const QString digits = QString::number(code < 0 ? -static_cast<int32_t>(code) : code)
                               .rightJustified(2, QLatin1Char('0'));
    return code < 0 ? QStringLiteral("-") + digits : digits;
}
} // namespace

void clsDefFillterCasette::SetData(int16_t p_intNumber, const QString& p_szName, int16_t p_intReiki,
                                   int16_t p_intDM, int16_t p_intKyusyu) {
    m_Number = p_intNumber;
    m_Name = p_szName;
    m_Reiki = p_intReiki;
    m_DM = p_intDM;
    m_Kyusyu = p_intKyusyu;
}

void clsDefFillterCasette::Copy(const clsDefFillterCasette& p_oCell) {
    SetData(p_oCell.m_Number, p_oCell.m_Name, p_oCell.m_Reiki, p_oCell.m_DM, p_oCell.m_Kyusyu);
}

bool clsDefFillterCasette::Compare(const clsDefFillterCasette& p_oCell) const {
    return m_Number == p_oCell.m_Number && m_Name == p_oCell.m_Name && m_Reiki == p_oCell.m_Reiki &&
           m_DM == p_oCell.m_DM && m_Kyusyu == p_oCell.m_Kyusyu;
}

bool clsDefFillterCasette::IsEqualParam(int16_t p_intReiki, int16_t p_intDM, int16_t p_intKyusyu) const {
    return m_Reiki == p_intReiki && m_DM == p_intDM && m_Kyusyu == p_intKyusyu;
}

QString clsDefFillterCasette::GetOpeStr() const {
    return twoDigits(m_Reiki) + twoDigits(m_DM) + twoDigits(m_Kyusyu);
}
