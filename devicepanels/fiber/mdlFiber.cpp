#include "devicepanels/fiber/mdlFiber.h"

FiberState& fiberState() {
    static FiberState state;
    return state;
}

namespace mdlFiber {
namespace {
Maker& maker() {
    static Maker m;
    return m;
}
} // namespace

QString ND_Text(int16_t position, int16_t wheelModel, int16_t fiberUnit) {
    static const char* const kModel0[] = {"ND32", "ND16", "ND8", "ND4", "ND2", "ND1"};
    static const char* const kModel1[] = {" 0 %", " 12 %", " 25 %", " 50 %", " 100 %", "None"};
    if (fiberUnit != 1 || position < 1 || position > 6)
        return QStringLiteral("None");
    if (wheelModel == 0)
        return QLatin1String(kModel0[position - 1]);
    if (wheelModel == 1)
        return QLatin1String(kModel1[position - 1]);
    return QStringLiteral("None");
}

QString ND_Text(int16_t position) {
    const FiberState& f = fiberState();
    return ND_Text(position, f.WheelModel, f.FiberUnit);
}

const QStringList& StateNames() {
    static const QStringList names = {
        QStringLiteral("Lamp_IsOn"),           QStringLiteral("Interlock_Status"),
        QStringLiteral("HeatSensitive_Status"), QStringLiteral("LampCoolingFun_Status"),
        QStringLiteral("PowerCoolingFun_Status"), QStringLiteral("Lamp_IsReady"),
    };
    return names;
}

void setMaker(Maker m) { maker() = std::move(m); }

std::unique_ptr<FiberService> create() { return maker() ? maker()() : nullptr; }

bool SplitEvent(const QString& message, QString& name, QString& value) {
    const int colon = message.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return false;
    name = message.left(colon).trimmed();
    value = message.mid(colon + 1).trimmed();
    return true;
}

} // namespace mdlFiber
