#include "stand/StandDescription.h"

#include "core/base/FileRead.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSet>
#include <cmath>

namespace {

template <class T>
using Fields = std::initializer_list<std::pair<const char*, T*>>;

const char* const kUnitNames[] = {"", "Q7s", "HBX-B", "HBX-A", "Z", "Tolva", "E-LM-K"};
const char* const kDeviceNames[] = {"",          "Nosepiece",    "FilterBlockCassette",
                                    "LightPathDrive", "CondenserCassette", "OpticalZoom",
                                    "EpiFieldStop", "Analyzer",  "EpiShutter",
                                    "Lamp",      "ZDrive",       "XYDrive",
                                    "ApertureStop", "FieldStop", "NDFilter"};
struct LimitName { int16_t index; const char* name; };
const LimitName kLimitNames[] = {
    {1, "Nosepiece"}, {2, "FilterBlockCassette"}, {4, "CondenserCassette"}, {5, "OpticalZoom"},
    {6, "EpiFieldStop"}, {9, "Lamp"}, {11, "ZDrive"}, {13, "XYDriveX"}, {14, "XYDriveY"},
    {16, "ApertureStop"}, {17, "FieldStop"}, {18, "NDFilter"}};

// Default travel speeds, in the device's own unit a second.
const double kDefaultSpeed[] = {0, 2, 2, 2, 2, 0.4, 2, 4, 4, 5, 4000, 20000, 10, 10, 100};

// Which unit carries a device when the description does not say.
int16_t defaultUnit(int16_t device, const std::array<bool, StandDescription::kUnits + 1>& u) {
    auto first = [&](std::initializer_list<int16_t> order) -> int16_t {
        for (int16_t unit : order)
            if (u[unit]) return unit;
        return 0;
    };
    using namespace UnitIndex;
    switch (device) {
    case DeviceIndex::FilterBlockCassette:
    case DeviceIndex::EpiFieldStop:
    case DeviceIndex::EpiShutter:
        return first({HBX_A, HBX_B, E_LM_K, Q7s});
    case DeviceIndex::ZDrive:
        return first({ZController, Q7s, HBX_B});
    case DeviceIndex::XYDrive:
        return first({Tolva, Q7s, HBX_B});
    default:
        return first({Q7s, HBX_B, E_LM_K, HBX_A});
    }
}

class Reader {
public:
    explicit Reader(QString origin) : m_origin(std::move(origin)) {}

    [[noreturn]] void fail(const QString& problem) const {
        throw RunTimeError(RunTimeError::TypeMismatch,
                           QStringLiteral("Stand description %1: %2").arg(m_origin, problem));
    }
    void checkKeys(const QJsonObject& o, const QString& where, std::initializer_list<const char*> known) const {
        QSet<QString> k;
        for (const char* n : known) k.insert(QLatin1String(n));
        for (auto it = o.begin(); it != o.end(); ++it)
            if (!k.contains(it.key()))
                fail(QStringLiteral("unknown key \"%1\" in %2").arg(it.key(), where));
    }
    double number(const QJsonValue& v, const QString& what) const {
        if (!v.isDouble()) fail(QStringLiteral("%1 must be a number").arg(what));
        return v.toDouble();
    }
    int32_t integer(const QJsonValue& v, const QString& what, double lo = -2147483648.0,
                    double hi = 2147483647.0) const {
        const double d = number(v, what);
        if (d != std::floor(d) || d < lo || d > hi)
            fail(QStringLiteral("%1 must be a whole number from %2 to %3, not %4")
                     .arg(what).arg(lo, 0, 'f', 0).arg(hi, 0, 'f', 0).arg(d));
        return static_cast<int32_t>(d);
    }
    QString text(const QJsonValue& v, const QString& what) const {
        if (!v.isString()) fail(QStringLiteral("%1 must be a text").arg(what));
        return v.toString();
    }
    QJsonObject object(const QJsonValue& v, const QString& what) const {
        if (!v.isObject()) fail(QStringLiteral("%1 must be an object").arg(what));
        return v.toObject();
    }
    QJsonArray array(const QJsonValue& v, const QString& what) const {
        if (!v.isArray()) fail(QStringLiteral("%1 must be an array").arg(what));
        return v.toArray();
    }
    int16_t unit(const QJsonValue& v, const QString& what) const {
        const QString name = text(v, what);
        for (int16_t u = 1; u <= StandDescription::kUnits; ++u)
            if (name == QLatin1String(kUnitNames[u])) return u;
        fail(QStringLiteral("unknown unit \"%1\" in %2 (known: Q7s, HBX-B, HBX-A, Z, Tolva, E-LM-K)")
                 .arg(name, what));
    }
    int16_t device(const QString& name) const {
        for (int16_t d = 1; d <= StandDescription::kDevices; ++d)
            if (name == QLatin1String(kDeviceNames[d])) return d;
        fail(QStringLiteral("unknown device \"%1\"").arg(name));
    }
    int16_t limit(const QString& name) const {
        for (const LimitName& l : kLimitNames)
            if (name == QLatin1String(l.name)) return l.index;
        fail(QStringLiteral("unknown limit \"%1\"").arg(name));
    }

private:
    QString m_origin;
};

QStringList generatedLog(int16_t unit) {
    static const char* const kEvents[] = {
        "Power on",          "Initialise complete", "Nosepiece moved",     "Filter cassette moved",
        "Light path changed", "Lamp on",            "Lamp off",            "Z drive escape",
        "Z drive return",    "Stage moved",         "Observation changed", "Communication reset"};
    QStringList log;
    for (int i = 1; i <= 120; ++i) {
        const int minutes = i * 7;
        log << QStringLiteral("%1%2 2024/03/%3 %4:%5 %6 %7")
                   .arg(i % 3 == 0 ? "W" : "I")
                   .arg(i, 3, 10, QLatin1Char('0'))
                   .arg(1 + (minutes / 1440) % 28, 2, 10, QLatin1Char('0'))
                   .arg((minutes / 60) % 24, 2, 10, QLatin1Char('0'))
                   .arg(minutes % 60, 2, 10, QLatin1Char('0'))
                   .arg(QLatin1String(kUnitNames[unit]))
                   .arg(QLatin1String(kEvents[(i + unit) % 12]));
    }
    return log;
}

void deriveLimits(StandDescription& d, const QSet<int16_t>& explicitLimits) {
    auto table = [&](int16_t index, int count) {
        if (!explicitLimits.contains(index) && count > 0) d.limits[index] = {1, double(count), 1};
    };
    table(LimitIndex::Nosepiece, d.objectives.size());
    table(LimitIndex::FilterBlockCassette, d.filters.size());
    table(LimitIndex::CondenserCassette, d.condensers.size());
}

void deriveObjectiveStops(StandDescription& d) {
    const StandLimits as = d.limits.value(LimitIndex::ApertureStop);
    const StandLimits fs = d.limits.value(LimitIndex::FieldStop);
    for (StandObjective& o : d.objectives) {
        // The aperture follows the objective's aperture, the field stop its field of view.
        if (o.apertureStop <= 0)
            o.apertureStop = std::round(std::clamp(as.lower + (as.upper - as.lower) * o.na / 1.4,
                                                   as.lower, as.upper) * 10) / 10;
        if (o.fieldStop <= 0 && o.rate > 0)
            o.fieldStop = std::round(std::clamp(fs.upper * 4 / o.rate, fs.lower, fs.upper) * 10) / 10;
        if (o.fieldStop <= 0) o.fieldStop = fs.upper;
    }
}

} // namespace

int16_t StandDescription::unitOf(int16_t device) const {
    if (device < 1 || device > kDevices) return 0;
    return devices[device].unit;
}

StandDescription StandDescription::builtIn() {
    StandDescription d;
    d.origin = QStringLiteral("(built in)");
    d.name = QStringLiteral("Simulated Microscope");
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_B, UnitIndex::HBX_A, UnitIndex::ZController,
                      UnitIndex::Tolva})
        d.units[u] = true;
    // The Q7s answers a letter and its firmware number (1.0 to 1.2 is the old
    // firmware); the Tolva controller answers its name, ":" and the number.
    d.versions = {QString(), "V1.30", "B2.05", "A1.12", "Z3.01", "TOLVA:1.40", "E1.02"};
    d.limits = {{LimitIndex::OpticalZoom, {0.8, 2.0, 0.1}},   {LimitIndex::EpiFieldStop, {0.5, 5, 0.1}},
                {LimitIndex::Lamp, {0, 12, 0.1}},             {LimitIndex::ZDrive, {0, 200000, 20}},
                {LimitIndex::XYDriveX, {-100000, 100000, 10}}, {LimitIndex::XYDriveY, {-70000, 70000, 10}},
                {LimitIndex::ApertureStop, {1, 27, 0.5}},     {LimitIndex::FieldStop, {1, 20, 0.5}},
                {LimitIndex::NDFilter, {0, 100, 10}}};
    d.zUpperLimit = 180000;
    // Invented names that say what the lens is: kind, magnification / N.A.
    d.objectives = {
        {1001, "Plan 4x/0.10", "PL", "Plan", 4, 18.5, 0.1, 0, 0, 100},
        {1002, "PlanApo 10x/0.40", "PA", "Plan Apo", 10, 3.1, 0.4, 0, 0, 100},
        {1003, "PlanApo 20x/0.75", "PA", "Plan Apo", 20, 0.6, 0.75, 0, 0, 100},
        {1004, "PlanApo 40x/0.95", "PA", "Plan Apo", 40, 0.18, 0.95, 0, 0, 100},
        {1005, "PlanApo 60x/1.35 Oil", "PA", "Oil", 60, 0.15, 1.35, 0, 0, 50},
        {0, "", "", "", 0, 0, 0, 0, 0, 100}};
    // Cubes are named by the light they excite with. Their filter codes lie in
    // 2..240, the catalogue range whose wavelengths the panel reads from the
    // texts, so that the light path drawing shows them in colour.
    d.filters = {{1, "NONE", 0, 0, 0, "", "", ""},
                 {2, "UV-EX385", 11, 21, 31, "BP365-405", "DM415", "LP430"},
                 {3, "BLUE-EX470", 12, 22, 32, "BP455-485", "DM495", "LP505"},
                 {4, "GREEN-EX545", 13, 23, 33, "BP530-560", "DM565", "LP580"},
                 {5, "RED-EX620", 14, 24, 34, "BP605-635", "DM645", "LP655"},
                 {0, "", 0, 0, 0, "", "", ""}};
    d.condensers = {{1, "BF", 1}, {2, "DF", 2}, {3, "DIC", 3}, {4, "Ph1", 4}, {5, "Ph2", 4}, {0, "", 0}};
    d.camera = true;
    d.cameraUnit = 1;
    d.cameraHead = 2;
    for (int16_t dev = 1; dev <= kDevices; ++dev) {
        d.devices[dev].status = 1;
        d.devices[dev].speed = kDefaultSpeed[dev];
        d.devices[dev].unit = defaultUnit(dev, d.units);
    }
    // Built-in methods: Brightfield, DIC, DIC / Fl., Fluorescence, Phase Contrast, Darkfield.
    // Order: lamp, nd, fieldStop, condenser, apertureStop, filter, shutter, analyzer, objective, path, zoom.
    const ObservationPositions builtin[6] = {
        {3, 2, 2, 5, 2, 1, 4, 4, 0, 1, 0}, {3, 2, 2, 7, 2, 1, 4, 3, 0, 1, 0},
        {3, 2, 2, 7, 2, 3, 3, 3, 0, 1, 0}, {4, 0, 0, 5, 0, 3, 3, 4, 0, 1, 0},
        {3, 2, 2, 8, 2, 1, 4, 4, 0, 1, 0}, {3, 2, 3, 6, 3, 1, 4, 4, 0, 1, 0}};
    const char* const names[6] = {"Brightfield", "DIC", "DIC / Fl.", "Fluorescence",
                                  "Phase Contrast", "Darkfield"};
    for (int i = 0; i < 6; ++i) d.observations[i + 1] = {names[i], builtin[i]};
    for (int i = 7; i <= kObservations; ++i) d.observations[i] = {QString(), {}};
    d.focusMemory = QVector<int32_t>(6, kNoFocus);
    d.stageMemory = QVector<QPair<int32_t, int32_t>>(6, {0, 0});
    for (int16_t u = 1; u <= kUnits; ++u) d.eventLogs[u] = generatedLog(u);
    deriveLimits(d, {});
    deriveObjectiveStops(d);
    return d;
}

StandDescription StandDescription::load(const QString& path) {
    const FileRead::Result file = FileRead::read(path, kLargestFile);
    if (file.missing())
        throw RunTimeError(RunTimeError::PathNotFound,
                           QStringLiteral("Stand description %1: the file does not exist").arg(path));
    if (file.refused())
        throw RunTimeError(RunTimeError::PathNotFound, QStringLiteral("Stand description %1: %2").arg(path, file.why));
    return fromJson(file.bytes, path);
}

StandDescription StandDescription::fromJson(const QByteArray& json, const QString& origin) {
    Reader r(origin);
    QJsonParseError err{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &err);
    if (err.error != QJsonParseError::NoError) {
        const int line = json.left(err.offset).count('\n') + 1;
        r.fail(QStringLiteral("line %1: %2").arg(line).arg(err.errorString()));
    }
    if (!doc.isObject()) r.fail(QStringLiteral("the top level must be an object"));
    const QJsonObject top = doc.object();
    r.checkKeys(top, QStringLiteral("the top level"),
                {"name", "units", "versions", "eventLogs", "devices", "pathSubType", "limits",
                 "zUpperLimit", "objectives", "filters", "condensers", "camera", "observations",
                 "focusMemory", "stageMemory", "state", "autoFocus", "comment"});

    StandDescription d = builtIn();
    d.origin = origin;
    if (!top.contains(QLatin1String("name"))) r.fail(QStringLiteral("\"name\" is missing"));
    d.name = r.text(top.value(QLatin1String("name")), QStringLiteral("\"name\""));
    if (d.name.trimmed().isEmpty()) r.fail(QStringLiteral("\"name\" is empty"));
    if (!top.contains(QLatin1String("units"))) r.fail(QStringLiteral("\"units\" is missing"));

    d.units.fill(false);
    for (const QJsonValue& v : r.array(top.value(QLatin1String("units")), QStringLiteral("\"units\"")))
        d.units[r.unit(v, QStringLiteral("\"units\""))] = true;

    if (top.contains(QLatin1String("versions"))) {
        const QJsonObject o = r.object(top.value(QLatin1String("versions")), QStringLiteral("\"versions\""));
        for (auto it = o.begin(); it != o.end(); ++it)
            d.versions[r.unit(QJsonValue(it.key()), QStringLiteral("\"versions\""))] =
                r.text(it.value(), QStringLiteral("version of %1").arg(it.key()));
    }
    if (top.contains(QLatin1String("eventLogs"))) {
        const QJsonObject o = r.object(top.value(QLatin1String("eventLogs")), QStringLiteral("\"eventLogs\""));
        for (auto it = o.begin(); it != o.end(); ++it) {
            const int16_t u = r.unit(QJsonValue(it.key()), QStringLiteral("\"eventLogs\""));
            QStringList log;
            for (const QJsonValue& e : r.array(it.value(), QStringLiteral("event log of %1").arg(it.key()))) {
                // An entry shorter than its four-character prefix is kept as it
                // stands: a damaged entry, which the panel's export must survive.
                log << r.text(e, QStringLiteral("event log entry of %1").arg(it.key()));
            }
            d.eventLogs[u] = log;
        }
    }

    if (top.contains(QLatin1String("objectives"))) {
        d.objectives.clear();
        for (const QJsonValue& v : r.array(top.value(QLatin1String("objectives")), QStringLiteral("\"objectives\""))) {
            const QJsonObject o = r.object(v, QStringLiteral("an objective"));
            r.checkKeys(o, QStringLiteral("an objective"),
                        {"number", "name", "series", "type", "rate", "wd", "na", "apertureStop", "fieldStop", "nd"});
            StandObjective ob;
            ob.number = r.integer(o.value(QLatin1String("number")), QStringLiteral("objective number"));
            ob.name = o.contains(QLatin1String("name")) ? r.text(o.value(QLatin1String("name")), QStringLiteral("objective name")) : QString();
            ob.series = o.contains(QLatin1String("series")) ? r.text(o.value(QLatin1String("series")), QStringLiteral("objective series")) : QString();
            ob.type = o.contains(QLatin1String("type")) ? r.text(o.value(QLatin1String("type")), QStringLiteral("objective type")) : QString();
            for (auto [key, field] : Fields<double>{{"rate", &ob.rate}, {"wd", &ob.wd}, {"na", &ob.na},
                                      {"apertureStop", &ob.apertureStop}, {"fieldStop", &ob.fieldStop}, {"nd", &ob.nd}})
                if (o.contains(QLatin1String(key)))
                    *field = r.number(o.value(QLatin1String(key)), QStringLiteral("objective %1").arg(QLatin1String(key)));
            d.objectives << ob;
        }
    }
    if (top.contains(QLatin1String("filters"))) {
        d.filters.clear();
        for (const QJsonValue& v : r.array(top.value(QLatin1String("filters")), QStringLiteral("\"filters\""))) {
            const QJsonObject o = r.object(v, QStringLiteral("a filter cube"));
            r.checkKeys(o, QStringLiteral("a filter cube"), {"number", "name", "reiki", "dm", "kyusyu", "ex", "dmName", "ba"});
            StandFilter f;
            f.number = r.integer(o.value(QLatin1String("number")), QStringLiteral("filter number"));
            for (auto [key, field] : Fields<QString>{{"name", &f.name}, {"ex", &f.exName}, {"dmName", &f.dmName}, {"ba", &f.baName}})
                if (o.contains(QLatin1String(key)))
                    *field = r.text(o.value(QLatin1String(key)), QStringLiteral("filter %1").arg(QLatin1String(key)));
            for (auto [key, field] : Fields<int32_t>{{"reiki", &f.reiki}, {"dm", &f.dm}, {"kyusyu", &f.kyusyu}})
                if (o.contains(QLatin1String(key)))
                    *field = r.integer(o.value(QLatin1String(key)), QStringLiteral("filter %1").arg(QLatin1String(key)));
            d.filters << f;
        }
    }
    if (top.contains(QLatin1String("condensers"))) {
        d.condensers.clear();
        for (const QJsonValue& v : r.array(top.value(QLatin1String("condensers")), QStringLiteral("\"condensers\""))) {
            const QJsonObject o = r.object(v, QStringLiteral("a condenser position"));
            r.checkKeys(o, QStringLiteral("a condenser position"), {"number", "name", "kind"});
            StandCondenser c;
            c.number = r.integer(o.value(QLatin1String("number")), QStringLiteral("condenser number"));
            if (o.contains(QLatin1String("name"))) c.name = r.text(o.value(QLatin1String("name")), QStringLiteral("condenser name"));
            if (o.contains(QLatin1String("kind"))) c.kind = int16_t(r.integer(o.value(QLatin1String("kind")), QStringLiteral("condenser kind"), 0, 4));
            d.condensers << c;
        }
    }

    QSet<int16_t> explicitLimits;
    if (top.contains(QLatin1String("limits"))) {
        const QJsonObject o = r.object(top.value(QLatin1String("limits")), QStringLiteral("\"limits\""));
        for (auto it = o.begin(); it != o.end(); ++it) {
            const int16_t index = r.limit(it.key());
            const QJsonObject l = r.object(it.value(), QStringLiteral("limits of %1").arg(it.key()));
            r.checkKeys(l, QStringLiteral("limits of %1").arg(it.key()), {"lower", "upper", "step"});
            StandLimits lim = d.limits.value(index);
            if (l.contains(QLatin1String("lower"))) lim.lower = r.number(l.value(QLatin1String("lower")), QStringLiteral("lower limit of %1").arg(it.key()));
            if (l.contains(QLatin1String("upper"))) lim.upper = r.number(l.value(QLatin1String("upper")), QStringLiteral("upper limit of %1").arg(it.key()));
            if (l.contains(QLatin1String("step"))) lim.step = r.number(l.value(QLatin1String("step")), QStringLiteral("step of %1").arg(it.key()));
            if (lim.lower > lim.upper)
                r.fail(QStringLiteral("limits of %1: lower %2 is above upper %3").arg(it.key()).arg(lim.lower).arg(lim.upper));
            if (lim.step <= 0) r.fail(QStringLiteral("limits of %1: the step must be above 0").arg(it.key()));
            d.limits[index] = lim;
            explicitLimits.insert(index);
        }
    }
    deriveLimits(d, explicitLimits);
    // "cOPS2" stores focus positions that "rOPR" must give back in 8 characters.
    const StandLimits z = d.limits.value(LimitIndex::ZDrive);
    if (z.lower < -kMaxFocusCount || z.upper > kMaxFocusCount)
        r.fail(QStringLiteral("limits of ZDrive must stay within -%1 to %1 counts").arg(kMaxFocusCount));
    for (auto [index, count] : std::initializer_list<std::pair<int16_t, qsizetype>>{{LimitIndex::Nosepiece, d.objectives.size()},
                                {LimitIndex::FilterBlockCassette, d.filters.size()},
                                {LimitIndex::CondenserCassette, d.condensers.size()}})
        if (explicitLimits.contains(index) && d.limits[index].upper > count)
            r.fail(QStringLiteral("the upper limit %1 of a turret is above its %2 table entries")
                       .arg(d.limits[index].upper).arg(count));

    if (top.contains(QLatin1String("zUpperLimit")))
        d.zUpperLimit = r.integer(top.value(QLatin1String("zUpperLimit")), QStringLiteral("\"zUpperLimit\""));

    for (int16_t dev = 1; dev <= kDevices; ++dev) d.devices[dev].unit = defaultUnit(dev, d.units);
    if (top.contains(QLatin1String("devices"))) {
        const QJsonObject o = r.object(top.value(QLatin1String("devices")), QStringLiteral("\"devices\""));
        for (int16_t dev = 1; dev <= kDevices; ++dev) d.devices[dev].status = 0;
        for (auto it = o.begin(); it != o.end(); ++it) {
            const int16_t dev = r.device(it.key());
            const QJsonObject dv = r.object(it.value(), QStringLiteral("device %1").arg(it.key()));
            r.checkKeys(dv, QStringLiteral("device %1").arg(it.key()), {"status", "readOnly", "unit", "speed"});
            StandDevice& sd = d.devices[dev];
            sd.status = dv.contains(QLatin1String("status")) ? r.integer(dv.value(QLatin1String("status")), QStringLiteral("status of %1").arg(it.key())) : 1;
            if (dv.contains(QLatin1String("readOnly"))) sd.readOnly = r.integer(dv.value(QLatin1String("readOnly")), QStringLiteral("readOnly of %1").arg(it.key()));
            if (dv.contains(QLatin1String("unit"))) sd.unit = r.unit(dv.value(QLatin1String("unit")), QStringLiteral("unit of %1").arg(it.key()));
            if (dv.contains(QLatin1String("speed"))) {
                sd.speed = r.number(dv.value(QLatin1String("speed")), QStringLiteral("speed of %1").arg(it.key()));
                if (sd.speed <= 0) r.fail(QStringLiteral("speed of %1 must be above 0").arg(it.key()));
            }
        }
    }
    for (int16_t dev = 1; dev <= kDevices; ++dev) {
        const int16_t u = d.devices[dev].unit;
        if (d.devices[dev].status != 0 && u != 0 && !d.units[u])
            r.fail(QStringLiteral("device %1 is carried by unit %2, which is not present")
                       .arg(QLatin1String(kDeviceNames[dev]), QLatin1String(kUnitNames[u])));
    }
    if (top.contains(QLatin1String("pathSubType")))
        d.pathSubType = int16_t(r.integer(top.value(QLatin1String("pathSubType")), QStringLiteral("\"pathSubType\""), -32768, 32767));

    if (top.contains(QLatin1String("camera"))) {
        const QJsonValue cv = top.value(QLatin1String("camera"));
        if (cv.isNull() || (cv.isBool() && !cv.toBool())) {
            d.camera = false;
        } else {
            const QJsonObject c = r.object(cv, QStringLiteral("\"camera\""));
            r.checkKeys(c, QStringLiteral("\"camera\""), {"unit", "head"});
            d.camera = true;
            d.cameraUnit = int16_t(r.integer(c.value(QLatin1String("unit")), QStringLiteral("camera unit"), 0, 32767));
            d.cameraHead = int16_t(r.integer(c.value(QLatin1String("head")), QStringLiteral("camera head"), 0, 32767));
        }
    }

    if (top.contains(QLatin1String("observations"))) {
        const QJsonObject o = r.object(top.value(QLatin1String("observations")), QStringLiteral("\"observations\""));
        for (auto it = o.begin(); it != o.end(); ++it) {
            bool ok = false;
            const int n = it.key().toInt(&ok);
            if (!ok || n < 1 || n > kObservations)
                r.fail(QStringLiteral("observation \"%1\" is not a number from 1 to 12").arg(it.key()));
            const QJsonObject ob = r.object(it.value(), QStringLiteral("observation %1").arg(n));
            r.checkKeys(ob, QStringLiteral("observation %1").arg(n), {"name", "positions"});
            if (ob.contains(QLatin1String("name"))) d.observations[n].name = r.text(ob.value(QLatin1String("name")), QStringLiteral("name of observation %1").arg(n));
            if (ob.contains(QLatin1String("positions"))) {
                const QJsonArray a = r.array(ob.value(QLatin1String("positions")), QStringLiteral("positions of observation %1").arg(n));
                if (a.size() != 11) r.fail(QStringLiteral("positions of observation %1 must hold 11 command codes").arg(n));
                int32_t* f[11] = {&d.observations[n].positions.lamp, &d.observations[n].positions.nd,
                                  &d.observations[n].positions.fieldStop, &d.observations[n].positions.condenser,
                                  &d.observations[n].positions.apertureStop, &d.observations[n].positions.filter,
                                  &d.observations[n].positions.shutter, &d.observations[n].positions.analyzer,
                                  &d.observations[n].positions.objective, &d.observations[n].positions.path,
                                  &d.observations[n].positions.zoom};
                for (int i = 0; i < 11; ++i) *f[i] = r.integer(a[i], QStringLiteral("command code %1 of observation %2").arg(i + 1).arg(n));
            }
        }
    }

    const int addresses = std::max<int>(6, int(d.limits.value(LimitIndex::Nosepiece).upper));
    d.focusMemory = QVector<int32_t>(addresses, kNoFocus);
    d.stageMemory = QVector<QPair<int32_t, int32_t>>(addresses, {0, 0});
    if (top.contains(QLatin1String("focusMemory"))) {
        const QJsonArray a = r.array(top.value(QLatin1String("focusMemory")), QStringLiteral("\"focusMemory\""));
        for (int i = 0; i < a.size() && i < addresses; ++i)
            d.focusMemory[i] = r.integer(a[i], QStringLiteral("focus memory %1").arg(i + 1), -kMaxFocusCount, kMaxFocusCount);
    }
    if (top.contains(QLatin1String("stageMemory"))) {
        const QJsonArray a = r.array(top.value(QLatin1String("stageMemory")), QStringLiteral("\"stageMemory\""));
        for (int i = 0; i < a.size() && i < addresses; ++i) {
            const QJsonArray xy = r.array(a[i], QStringLiteral("stage memory %1").arg(i + 1));
            if (xy.size() != 2) r.fail(QStringLiteral("stage memory %1 must be [x, y]").arg(i + 1));
            d.stageMemory[i] = {r.integer(xy[0], QStringLiteral("stage memory X"), -kMaxStageOffset, kMaxStageOffset),
                                r.integer(xy[1], QStringLiteral("stage memory Y"), -kMaxStageOffset, kMaxStageOffset)};
        }
    }
    if (top.contains(QLatin1String("state"))) {
        const QJsonObject s = r.object(top.value(QLatin1String("state")), QStringLiteral("\"state\""));
        r.checkKeys(s, QStringLiteral("\"state\""), {"nosepiece", "filter", "lightPath", "condenser", "apertureStop",
                                                      "fieldStop", "epiFieldStop", "nd", "lampOn", "lampVoltage",
                                                      "zoom", "z", "x", "y", "observation"});
        StandState& st = d.state;
        for (auto [key, field] : Fields<int16_t>{{"nosepiece", &st.nosepiece}, {"filter", &st.filter}, {"lightPath", &st.lightPath},
                                  {"condenser", &st.condenser}, {"lampOn", &st.lampOn}, {"observation", &st.observation}})
            if (s.contains(QLatin1String(key))) *field = int16_t(r.integer(s.value(QLatin1String(key)), QStringLiteral("state %1").arg(QLatin1String(key)), -32768, 32767));
        for (auto [key, field] : Fields<double>{{"apertureStop", &st.apertureStop}, {"fieldStop", &st.fieldStop},
                                  {"epiFieldStop", &st.epiFieldStop}, {"nd", &st.nd}, {"lampVoltage", &st.lampVoltage}, {"zoom", &st.zoom}})
            if (s.contains(QLatin1String(key))) *field = r.number(s.value(QLatin1String(key)), QStringLiteral("state %1").arg(QLatin1String(key)));
        for (auto [key, field] : Fields<int32_t>{{"z", &st.z}, {"x", &st.x}, {"y", &st.y}})
            if (s.contains(QLatin1String(key))) *field = r.integer(s.value(QLatin1String(key)), QStringLiteral("state %1").arg(QLatin1String(key)));
    }
    if (top.contains(QLatin1String("autoFocus"))) {
        const QJsonObject a = r.object(top.value(QLatin1String("autoFocus")), QStringLiteral("\"autoFocus\""));
        r.checkKeys(a, QStringLiteral("\"autoFocus\""), {"result", "position"});
        if (a.contains(QLatin1String("result"))) d.autoFocusResult = r.integer(a.value(QLatin1String("result")), QStringLiteral("auto focus result"));
        if (a.contains(QLatin1String("position"))) d.autoFocusPosition = r.integer(a.value(QLatin1String("position")), QStringLiteral("auto focus position"));
    }
    deriveObjectiveStops(d);
    return d;
}
