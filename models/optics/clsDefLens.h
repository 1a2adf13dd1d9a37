#pragma once
// The record of one objective at one nosepiece address: the texts the
// operator reads, the optical figures, and a coded definition (series and
// two type codes) with its tables and compact operation string.
#include <QString>
#include <cstdint>

class clsDefLens {
public:
    QString Name() const { return m_Name; }
    void setName(const QString& p_strName) { m_Name = p_strName; }
    // 0 means no objective is defined at this address.
    int16_t Number() const { return m_Number; }
    void setNumber(int16_t p_intNumber) { m_Number = p_intNumber; }
    QString SeriesName() const { return m_SeriesName; }
    void setSeriesName(const QString& p_strSeriesName) { m_SeriesName = p_strSeriesName; }
    int16_t Series() const { return m_Series; }
    void setSeries(int16_t p_intSeries) { m_Series = p_intSeries; }
    QString TypeName() const { return m_TypeName; }
    void setTypeName(const QString& p_strTypeName) { m_TypeName = p_strTypeName; }
    int16_t Type2() const { return m_Type2; }
    void setType2(int16_t p_intType2) { m_Type2 = p_intType2; }
    int16_t Type3() const { return m_Type3; }
    void setType3(int16_t p_intType3) { m_Type3 = p_intType3; }
    float Rate() const { return m_Rate; }
    void setRate(float p_sngRate) { m_Rate = p_sngRate; }
    float WD() const { return m_WD; }
    void setWD(float p_sngWD) { m_WD = p_sngWD; }
    float NA() const { return m_NA; }
    void setNA(float p_sngNA) { m_NA = p_sngNA; }

    // Limits of the coded definition. Type2Min is 1 although the table has a
    // row 0.
    static int16_t SeriesMin() { return 0; }
    static int16_t SeriesMax() { return 21; }
    static int16_t Type2Min() { return 1; }
    static int16_t Type2Max() { return 11; }
    static int16_t Type3Min() { return 0; }
    static int16_t Type3Max() { return 16; }
    static int16_t RATEMin() { return 1; }
    static int16_t RATEMax() { return 35; }

    // Stores all seven; the three texts stay.
    void SetData(int16_t p_intNumber, int16_t p_intSeries, int16_t p_intType2, int16_t p_intType3,
                 float p_sngRate, float p_sngWD, float p_sngNA);
    // Takes Series, Type2, Type3, Rate, WD, NA; Number and the texts stay.
    void SetData_cls(const clsDefLens& p_oLensDef);
    // A new record holding the same Series, Type2, Type3, Rate, WD and NA.
    clsDefLens GetData() const;
    // Series, Type2, Type3, Rate, WD, NA all exactly equal; Number and names
    // are not compared.
    bool IsEqualParam(const clsDefLens& p_oLensDef) const;
    // Whether the values form a valid definition (all 0 is the empty one).
    static bool IsTrueParam(int16_t p_intSeries, int16_t p_intType2, int16_t p_intType3,
                            float p_sngRate, float p_sngWD, float p_sngNA);

    // Table texts; index -1 means the object's own code, a code outside the
    // table gives "".
    QString Type2Name(int16_t index = -1) const;
    QString Type3Name(int16_t index = -1) const;

    // The offset-check shape: a digit text passes when within the range
    // (0-21, 1-11, 1-35), any other text passes. Beyond 32767 throws Overflow.
    static bool SERIES_Chk(const QString& text);
    static bool TYPE_Chk(const QString& text);
    static bool RATE_Chk(const QString& text);

    // Series in decimal, Type2 in hexadecimal, then Rate x 10, WD x 100 and
    // NA x 1000 each as three hexadecimal digits. Type3 is not in it.
    QString GetOpeStr() const;

private:
    QString m_Name = QStringLiteral("-------");
    int16_t m_Number = 0;
    QString m_SeriesName;
    int16_t m_Series = 0;
    QString m_TypeName;
    int16_t m_Type2 = 0;
    int16_t m_Type3 = 0;
    float m_Rate = 0;
    float m_WD = 0;
    float m_NA = 0;
};
