#include "models/optics/clsDefLens.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

namespace {

const char* const kType2Names[] = {
    "----------", "dry", "NCG", "C", "F", "oil", "NCG oil", "oil / iris", "WI / C", "W", "MI / C", "MI",
};

const char* const kType3Names[] = {
    "        ", "P       ", "ADL     ", "BM      ", "DL      ", "DLL     ", "DM      ", "LWD     ",
    "LWD P   ", "LWD ADL ", "LWD BM  ", "LWD DL  ", "ELWD    ", "ELWD ADL", "ELWD DM ", "ELWD DLL",
    "UW      ",
};

// A figure scaled, rounded to Single and then half to even to a whole number,
// written as its last three hexadecimal digits ("00" in front first).
QString threeHex(float value, int scale) {
    const float scaled = vb::toSingle(static_cast<double>(value) * scale);
    const int32_t whole = vb::toInt32(scaled);
    const QString hex = QString::number(static_cast<uint32_t>(whole), 16).toUpper();
    return (QStringLiteral("00") + hex).right(3);
}

} // namespace

void clsDefLens::SetData(int16_t p_intNumber, int16_t p_intSeries, int16_t p_intType2, int16_t p_intType3,
                         float p_sngRate, float p_sngWD, float p_sngNA) {
    m_Number = p_intNumber;
    m_Series = p_intSeries;
    m_Type2 = p_intType2;
    m_Type3 = p_intType3;
    m_Rate = p_sngRate;
    m_WD = p_sngWD;
    m_NA = p_sngNA;
}

void clsDefLens::SetData_cls(const clsDefLens& p_oLensDef) {
    m_Series = p_oLensDef.m_Series;
    m_Type2 = p_oLensDef.m_Type2;
    m_Type3 = p_oLensDef.m_Type3;
    m_Rate = p_oLensDef.m_Rate;
    m_WD = p_oLensDef.m_WD;
    m_NA = p_oLensDef.m_NA;
}

clsDefLens clsDefLens::GetData() const {
    clsDefLens copy;
    copy.SetData_cls(*this);
    return copy;
}

bool clsDefLens::IsEqualParam(const clsDefLens& p_oLensDef) const {
    return m_Series == p_oLensDef.m_Series && m_Type2 == p_oLensDef.m_Type2 &&
           m_Type3 == p_oLensDef.m_Type3 && m_Rate == p_oLensDef.m_Rate && m_WD == p_oLensDef.m_WD &&
           m_NA == p_oLensDef.m_NA;
}

bool clsDefLens::IsTrueParam(int16_t p_intSeries, int16_t p_intType2, int16_t p_intType3, float p_sngRate,
                             float p_sngWD, float p_sngNA) {
    if (p_intSeries == 0)
        return p_sngRate == 0 && p_intType2 == 0 && p_intType3 == 0 && p_sngWD == 0 && p_sngNA == 0;
    return 1 <= p_sngRate && p_sngRate <= 35 &&
           SeriesMin() <= p_intSeries && p_intSeries <= SeriesMax() &&
           Type2Min() <= p_intType2 && p_intType2 <= Type2Max() &&
           Type3Min() <= p_intType3 && p_intType3 <= Type3Max() &&
           0.01f <= p_sngWD && p_sngWD <= 40 &&
           0.001f <= p_sngNA && p_sngNA <= 2;
}

QString clsDefLens::Type2Name(int16_t index) const {
    const int16_t code = (index == -1) ? m_Type2 : index;
    if (code < 0 || code >= static_cast<int16_t>(sizeof kType2Names / sizeof kType2Names[0]))
        return QString();
    return QString::fromLatin1(kType2Names[code]);
}

QString clsDefLens::Type3Name(int16_t index) const {
    const int16_t code = (index == -1) ? m_Type3 : index;
    if (code < 0 || code >= static_cast<int16_t>(sizeof kType3Names / sizeof kType3Names[0]))
        return QString();
    return QString::fromLatin1(kType3Names[code]);
}

bool clsDefLens::SERIES_Chk(const QString& text) { return OffsetShape_Chk(text, 0, 21); }
bool clsDefLens::TYPE_Chk(const QString& text) { return OffsetShape_Chk(text, 1, 11); }
bool clsDefLens::RATE_Chk(const QString& text) { return OffsetShape_Chk(text, 1, 35); }

QString clsDefLens::GetOpeStr() const {
    // The hexadecimal of a 16-bit code is its 16-bit pattern (-1 is "FFFF").
    const QString type2 = QString::number(static_cast<uint16_t>(m_Type2), 16).toUpper();
    return QString::number(m_Series) + type2 + threeHex(m_Rate, 10) + threeHex(m_WD, 100) +
           threeHex(m_NA, 1000);
}
