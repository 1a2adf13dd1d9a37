#pragma once
// Checked access to the arguments of one stand call. A missing argument or one
// of the wrong kind throws StandRefusal with the invalid-argument code.
#include "core/base/RunTimeError.h"

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <cmath>
#include <cstdint>

struct StandRefusal {
    int32_t code;
    QString text;
};

class StandArgs {
public:
    StandArgs(const QVariantList& args, const QString& member) : m_args(args), m_member(member) {}

    int size() const { return int(m_args.size()); }
    double number(int i) const {
        const QVariant& v = at(i);
        switch (v.typeId()) {
        case QMetaType::Int: case QMetaType::UInt: case QMetaType::Short: case QMetaType::UShort:
        case QMetaType::LongLong: case QMetaType::ULongLong: case QMetaType::Double:
        case QMetaType::Float: case QMetaType::Long: case QMetaType::ULong: case QMetaType::Char:
        case QMetaType::SChar: case QMetaType::UChar: case QMetaType::Bool:
            return v.toDouble();
        default:
            throw bad(i, QStringLiteral("is not a number"));
        }
    }
    int32_t int32(int i) const {
        const double d = number(i);
        // Range first: converting a NaN or a huge double to an integer is undefined.
        if (!std::isfinite(d) || d < -2147483648.0 || d > 2147483647.0 || d != std::trunc(d))
            throw bad(i, QStringLiteral("is not a 32-bit whole number"));
        return static_cast<int32_t>(d);
    }
    int16_t int16(int i) const {
        const int32_t v = int32(i);
        if (v < -32768 || v > 32767) throw bad(i, QStringLiteral("is not a 16-bit whole number"));
        return static_cast<int16_t>(v);
    }
    QString text(int i) const {
        const QVariant& v = at(i);
        if (v.typeId() != QMetaType::QString) throw bad(i, QStringLiteral("is not a text"));
        return v.toString();
    }
    QVariantList list(int i) const {
        const QVariant& v = at(i);
        if (v.typeId() != QMetaType::QVariantList) throw bad(i, QStringLiteral("is not a list"));
        return v.toList();
    }

private:
    const QVariant& at(int i) const {
        if (i >= m_args.size())
            throw StandRefusal{RunTimeError::ServiceInvalidArgument,
                               QStringLiteral("%1: argument %2 is missing").arg(m_member).arg(i + 1)};
        return m_args[i];
    }
    StandRefusal bad(int i, const QString& what) const {
        return {RunTimeError::ServiceInvalidArgument,
                QStringLiteral("%1: argument %2 %3").arg(m_member).arg(i + 1).arg(what)};
    }
    const QVariantList& m_args;
    const QString& m_member;
};
