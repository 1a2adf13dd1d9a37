#include "core/base/VbConvert.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace vb {
namespace {

RunTimeError overflow() { return RunTimeError(RunTimeError::Overflow, QStringLiteral("Overflow")); }
RunTimeError mismatch() { return RunTimeError(RunTimeError::TypeMismatch, QStringLiteral("Type mismatch")); }

template <typename Int>
Int roundChecked(double value) {
    if (!std::isfinite(value))
        throw overflow();
    const double r = std::nearbyint(value); // default rounding mode: half to even
    if (r < static_cast<double>(std::numeric_limits<Int>::min()) ||
        r > static_cast<double>(std::numeric_limits<Int>::max()))
        throw overflow();
    return static_cast<Int>(r);
}

// Shared by textToDouble and isNumeric: parses a whole text, or fails.
bool parseWhole(const QString& text, double& out) {
    const QString t = text.trimmed();
    if (t.isEmpty())
        return false;
    if (t.startsWith(QLatin1String("&H"), Qt::CaseInsensitive) ||
        t.startsWith(QLatin1String("&O"), Qt::CaseInsensitive)) {
        bool ok = false;
        const int base = (t[1].toUpper() == QLatin1Char('H')) ? 16 : 8;
        const qulonglong v = t.mid(2).toULongLong(&ok, base);
        if (!ok || v > 0xFFFFFFFFull)
            return false;
        // Up to four digits is a 16-bit word, more is a 32-bit one; both signed.
        if (v <= 0xFFFF && t.size() - 2 <= (base == 16 ? 4 : 6))
            out = static_cast<int16_t>(static_cast<uint16_t>(v));
        else
            out = static_cast<int32_t>(static_cast<uint32_t>(v));
        return true;
    }
    QString s = t;
    s.replace(QLatin1Char('d'), QLatin1Char('e')).replace(QLatin1Char('D'), QLatin1Char('e'));
    // Only plain decimal notation; no "inf", "nan", hex floats.
    for (QChar c : s) {
        if (!(c.isDigit() || c == QLatin1Char('.') || c == QLatin1Char('+') || c == QLatin1Char('-') ||
              c == QLatin1Char('e') || c == QLatin1Char('E')))
            return false;
    }
    bool ok = false;
    const double v = s.toDouble(&ok);
    if (!ok)
        return false;
    out = v;
    return true;
}

} // namespace

int16_t toInt16(double value) { return roundChecked<int16_t>(value); }
int32_t toInt32(double value) { return roundChecked<int32_t>(value); }

float toSingle(double value) {
    if (std::isnan(value))
        return std::numeric_limits<float>::quiet_NaN();
    if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()))
        throw overflow();
    return static_cast<float>(value);
}

double textToDouble(const QString& text) {
    double v = 0;
    if (!parseWhole(text, v))
        throw mismatch();
    return v;
}
int16_t textToInt16(const QString& text) { return toInt16(textToDouble(text)); }
int32_t textToInt32(const QString& text) { return toInt32(textToDouble(text)); }
bool isNumeric(const QString& text) {
    double v = 0;
    return parseWhole(text, v);
}

double val(const QString& text) {
    QString digits;
    int i = 0;
    const int n = text.size();
    auto skipBlanks = [&] {
        while (i < n && (text[i] == QLatin1Char(' ') || text[i] == QLatin1Char('\t') ||
                         text[i] == QLatin1Char('\n') || text[i] == QLatin1Char('\r')))
            ++i;
    };
    skipBlanks();
    if (i + 1 < n && text[i] == QLatin1Char('&')) {
        const QChar kind = text[i + 1].toUpper();
        const int base = kind == QLatin1Char('H') ? 16 : (kind == QLatin1Char('O') ? 8 : 0);
        if (base) {
            i += 2;
            qulonglong v = 0;
            int count = 0;
            for (; i < n; ++i) {
                const int d = QString(text[i]).toInt(nullptr, base);
                if (!text[i].isLetterOrNumber() || (d == 0 && text[i] != QLatin1Char('0')))
                    break;
                v = v * base + static_cast<qulonglong>(d);
                ++count;
                if (v > 0xFFFFFFFFull)
                    return 0;
            }
            if (count == 0)
                return 0;
            if (v <= 0xFFFF)
                return static_cast<int16_t>(static_cast<uint16_t>(v));
            return static_cast<int32_t>(static_cast<uint32_t>(v));
        }
    }
    bool seenDigit = false, seenPoint = false, seenExp = false;
    if (i < n && (text[i] == QLatin1Char('+') || text[i] == QLatin1Char('-')))
        digits += text[i++];
    for (; i < n; ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            continue;
        if (c.isDigit() && c.unicode() < 128) {
            digits += c;
            seenDigit = true;
        } else if (c == QLatin1Char('.') && !seenPoint && !seenExp) {
            digits += c;
            seenPoint = true;
        } else if ((c.toUpper() == QLatin1Char('E') || c.toUpper() == QLatin1Char('D')) && seenDigit && !seenExp) {
            // An exponent only counts when digits follow it.
            int j = i + 1;
            QString exp = QStringLiteral("e");
            if (j < n && (text[j] == QLatin1Char('+') || text[j] == QLatin1Char('-')))
                exp += text[j++];
            if (j < n && text[j].isDigit()) {
                digits += exp;
                seenExp = true;
                i = j - 1;
            } else {
                break;
            }
        } else {
            break;
        }
    }
    if (!seenDigit)
        return 0;
    bool ok = false;
    const double v = digits.toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return 0;
    return v;
}

namespace {
QString formatSignificant(double value, int digits) {
    if (value == 0 || std::isnan(value))
        return QStringLiteral("0");
    if (std::isinf(value))
        return value > 0 ? QStringLiteral("1.#INF") : QStringLiteral("-1.#INF");
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", digits - 1, value);
    // buf: [-]d.ddddde[+-]XX
    QString s = QString::fromLatin1(buf);
    const int ePos = s.indexOf(QLatin1Char('e'));
    QString mantissa = s.left(ePos);
    const int exponent = s.mid(ePos + 1).toInt();
    const bool negative = mantissa.startsWith(QLatin1Char('-'));
    if (negative)
        mantissa.remove(0, 1);
    QString allDigits = mantissa;
    allDigits.remove(QLatin1Char('.'));
    while (allDigits.size() > 1 && allDigits.endsWith(QLatin1Char('0')))
        allDigits.chop(1);
    QString out;
    if (exponent >= digits || exponent < -4) {
        out = allDigits.left(1);
        if (allDigits.size() > 1)
            out += QLatin1Char('.') + allDigits.mid(1);
        out += QString(QLatin1Char('E')) + QLatin1Char(exponent < 0 ? '-' : '+') +
               QString::number(std::abs(exponent)).rightJustified(2, QLatin1Char('0'));
    } else if (exponent >= 0) {
        if (allDigits.size() <= exponent + 1) {
            out = allDigits + QString(exponent + 1 - allDigits.size(), QLatin1Char('0'));
        } else {
            out = allDigits.left(exponent + 1) + QLatin1Char('.') + allDigits.mid(exponent + 1);
        }
    } else {
        out = QStringLiteral("0.") + QString(-exponent - 1, QLatin1Char('0')) + allDigits;
    }
    return negative ? QStringLiteral("-") + out : out;
}
} // namespace

QString numberText(double value) { return formatSignificant(value, 15); }
QString singleText(float value) { return formatSignificant(static_cast<double>(value), 7); }

} // namespace vb
