#include "core/service/conformance/EventRules.h"

#include "core/service/MicroscopeService.h"

#include <QVector>
#include <cmath>
#include <limits>

namespace EventRules {
namespace {

enum class Kind {
    Whole,    // an integer of 16 bits
    Count,    // an integer of 32 bits (Z and XY counts)
    Number,   // a decimal number
    Ignored,  // the panel does not read the value
};

struct Rule {
    QString name;
    Kind kind = Kind::Whole;
    int16_t limitIndex = 0;       // the value lies within these limits (0: none reported)
    QVector<int> allowed;         // the only values it may take (empty: any of its kind)
    double least = -std::numeric_limits<double>::infinity();   // a bound of its own
};

Rule rule(const char* name, Kind kind) { return Rule{QString::fromLatin1(name), kind, 0, {}, -INFINITY}; }
Rule withLimits(Rule r, int16_t index) { r.limitIndex = index; return r; }
Rule onlyValues(Rule r, QVector<int> values) { r.allowed = std::move(values); return r; }
Rule atLeast(Rule r, double least) { r.least = least; return r; }

const QVector<Rule>& rules()
{
    static const QVector<Rule> table = {
        rule("AppLightPathDriveLightPath", Kind::Whole),
        atLeast(rule("AppNosepiecePosition", Kind::Whole), 1),
        rule("AppLampIsPreset", Kind::Whole),
        onlyValues(rule("AppLampIsOn", Kind::Whole), {0, 1}),
        withLimits(rule("AppLampControlVoltage", Kind::Number), LimitIndex::Lamp),
        withLimits(rule("AppOpticalZoomZoom", Kind::Number), LimitIndex::OpticalZoom),
        withLimits(rule("AppFieldStopFieldStop", Kind::Number), LimitIndex::FieldStop),
        withLimits(rule("AppNDFilterTransmission", Kind::Number), LimitIndex::NDFilter),
        withLimits(rule("AppApertureStopApertureStop", Kind::Number), LimitIndex::ApertureStop),
        rule("AppCondenserCassettePosition", Kind::Whole),
        withLimits(rule("AppEpiFieldStopFieldStop", Kind::Number), LimitIndex::EpiFieldStop),
        rule("AppFilterBlockCassettePosition", Kind::Whole),
        onlyValues(rule("AppAnalyzerIsInserted", Kind::Whole), {1, 2}),
        onlyValues(rule("AppEpiShutterIsOpened", Kind::Whole), {0, 1}),
        withLimits(rule("AppZDriveZPosition", Kind::Count), LimitIndex::ZDrive),
        withLimits(rule("AppXYDriveXPosition", Kind::Count), LimitIndex::XYDriveX),
        withLimits(rule("AppXYDriveYPosition", Kind::Count), LimitIndex::XYDriveY),
        onlyValues(rule("AppPresetsObservationMode", Kind::Whole), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
        rule("AppZDriveIsZEscape", Kind::Whole),
        rule("AppNosepieceMaxValue", Kind::Ignored),
        rule("AppXYZDriveIsEscape", Kind::Whole),
    };
    return table;
}

// Turret positions run from 1 to the upper limit; 0 is allowed as "none".
int16_t turretLimit(const QString& name)
{
    if (name == QLatin1String("AppNosepiecePosition"))
        return LimitIndex::Nosepiece;
    if (name == QLatin1String("AppFilterBlockCassettePosition"))
        return LimitIndex::FilterBlockCassette;
    if (name == QLatin1String("AppCondenserCassettePosition"))
        return LimitIndex::CondenserCassette;
    return 0;
}

QString number(double v) { return QString::number(v, 'g', 15); }

} // namespace

const QStringList& names()
{
    static const QStringList list = [] {
        QStringList l;
        for (const Rule& r : rules())
            l << r.name;
        return l;
    }();
    return list;
}

QString nameOf(const QString& text) { return text.section(QLatin1Char(':'), 0, 0); }

QString valueOf(const QString& text)
{
    const int colon = text.indexOf(QLatin1Char(':'));
    return colon < 0 ? QString() : text.mid(colon + 1);
}

QString problem(const QString& text, const QHash<int16_t, ReportedLimits>& limits)
{
    const int colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return QStringLiteral("has no ':' between a name and a value");
    const QString name = text.left(colon);
    const QString value = text.mid(colon + 1);
    const Rule* r = nullptr;
    for (const Rule& candidate : rules())
        if (candidate.name == name)
            r = &candidate;
    if (!r)
        return QStringLiteral("names \"%1\", which is none of the %2 names the panel knows").arg(name).arg(rules().size());
    if (r->kind == Kind::Ignored)
        return {};
    bool ok = false;
    const double v = value.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return QStringLiteral("carries \"%1\", which is not a number").arg(value.left(64));
    if (r->kind != Kind::Number) {
        const double top = r->kind == Kind::Whole ? 32767 : 2147483647.0;
        if (v != std::floor(v) || v > top || v < -top - 1)
            return QStringLiteral("carries %1, which is not a whole number of %2 bits")
                .arg(value.left(64)).arg(r->kind == Kind::Whole ? 16 : 32);
    }
    if (!r->allowed.isEmpty() && !r->allowed.contains(int(v)))
        return QStringLiteral("carries %1; the panel reads only %2").arg(value.left(64), [&] {
            QStringList l;
            for (int a : r->allowed)
                l << QString::number(a);
            return l.join(QStringLiteral(", "));
        }());
    if (v < r->least)
        return QStringLiteral("carries %1, below %2").arg(number(v), number(r->least));
    const int16_t turret = turretLimit(name);
    if (turret && limits.contains(turret) && v > limits[turret].upper)
        return QStringLiteral("carries %1, beyond the upper limit %2 the stand reported").arg(number(v), number(limits[turret].upper));
    if (r->limitIndex && limits.contains(r->limitIndex)) {
        const ReportedLimits& l = limits[r->limitIndex];
        // Half a step of slack: a stand may report a value its motor rounded.
        const double slack = l.step > 0 ? l.step / 2 : 0;
        if (v < l.lower - slack || v > l.upper + slack)
            return QStringLiteral("carries %1, outside the limits %2 to %3 the stand reported")
                .arg(number(v), number(l.lower), number(l.upper));
    }
    return {};
}

} // namespace EventRules
