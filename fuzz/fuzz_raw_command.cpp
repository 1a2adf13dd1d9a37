// Any text as a raw command of the console: the simulated stand answers every
// text with a reply or a refusal, and the replies the panel takes apart keep
// their documented form (rOPR: the signed count in its last 8 characters,
// rXPR: X in characters 2 to 8 and Y in 9 to 15, rSPR: a decimal count).
#include "core/base/RunTimeError.h"
#include "stand/SimulatedMicroscope.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {
SimulatedMicroscope& stand() {
    static int argc = 1;
    static char name[] = "fuzz_raw_command";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static std::unique_ptr<SimulatedMicroscope> mic = [] {
        auto m = std::make_unique<SimulatedMicroscope>(StandClock::instant(), QStringList());
        m->Connect(0);
        return m;
    }();
    return *mic;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString command = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QString reply;
    try {
        stand().SendCommand(command, reply);
    } catch (const RunTimeError&) {
        return 0;   // refused
    }
    // A refusal ("rOPR!,E06 ...") and an unknown text ("ERR,...") have forms
    // of their own: only a command the controller knows answers a value.
    if (reply.contains(QLatin1String("!,E")) || reply.startsWith(QLatin1String("ERR,")))
        return 0;
    static const QRegularExpression kAddressed(QStringLiteral("^(rOPR|rXPR)\\d{1,3}$"));
    const QString known = command.trimmed();   // as the controller reads it
    const QRegularExpressionMatch addressed = kAddressed.match(known);
    bool ok = true;
    if (addressed.hasMatch() && addressed.captured(1) == QLatin1String("rOPR")) {
        reply.right(8).trimmed().toInt(&ok);
    } else if (known == QLatin1String("rSPR")) {
        reply.trimmed().toInt(&ok);
    } else if (addressed.hasMatch()) {
        bool x = false, y = false;
        reply.mid(1, 7).trimmed().toInt(&x);
        reply.mid(8, 7).trimmed().toInt(&y);
        ok = reply.size() >= 15 && x && y;
    }
    if (!ok)
        std::abort();
    return 0;
}
