#include "stand/service/EventFlood.h"

#include "stand/SimulatedStand.h"
#include "stand/service/BusNameWatch.h"
#include "stand/service/ServiceHost.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>

namespace {

int s_floods = 0;

struct Flood {
    QPointer<SimulatedStand> stand;
    QString text;
    int left;
    BusCall call;
    ServiceHost* host;
    QElapsedTimer running;
    std::unique_ptr<BusNameWatch> caller;

    bool callerLeft() const { return caller && caller->left(); }
};

// One slice of the flood; true when it has ended.
bool step(Flood& f)
{
    bool out = f.left == 0 || !f.stand || !f.call.connection();
    if (!out && f.callerLeft()) {
        f.host->log()(QStringLiteral("EmitEvents stopped: %1 left the bus with %2 events unsent")
                          .arg(f.call.sender()).arg(f.left));
        out = true;
    } else if (!out && f.running.elapsed() > ServiceHost::kMaxFloodSeconds * 1000LL) {
        f.host->log()(QStringLiteral("EmitEvents of %1 stopped after %2 s with %3 events unsent")
                          .arg(f.call.sender()).arg(ServiceHost::kMaxFloodSeconds).arg(f.left));
        f.call.error(DBUS_ERROR_LIMITS_EXCEEDED, QStringLiteral("EmitEvents: stopped after %1 s with %2 events unsent")
                                                     .arg(ServiceHost::kMaxFloodSeconds).arg(f.left));
        f.left = -1;
        out = true;
    }
    if (out) {
        if (f.left >= 0 && !f.callerLeft())
            f.call.reply();
        return true;
    }
    // Paced by the bus: while the messages this process has queued for the
    // bus exceed the bound, the flood waits, so that it neither grows this
    // process nor makes replies to other clients queue behind it.
    if (f.call.connection()->outgoingBytes() > ServiceHost::kMaxOutgoingBytes)
        return false;
    for (int i = 0; i < 256 && f.left > 0; ++i, --f.left)
        emit f.stand->propertyChanged(f.text);
    return false;
}

void run(const std::shared_ptr<Flood>& flood)
{
    if (step(*flood)) {
        --s_floods;
        return;
    }
    const bool waiting = flood->call.connection()->outgoingBytes() > ServiceHost::kMaxOutgoingBytes;
    QTimer::singleShot(waiting ? 1 : 0, flood->stand, [flood] { run(flood); });
}

} // namespace

void startEventFlood(ServiceHost* host, SimulatedStand* stand, const QString& text, int count, const BusCall& call)
{
    const auto refuse = [&](const QString& why) { call.error(DBUS_ERROR_INVALID_ARGS, QStringLiteral("EmitEvents: ") + why); };
    if (count < 0)
        return refuse(QStringLiteral("negative count"));
    if (count > ServiceHost::kMaxEventCount)
        return refuse(QStringLiteral("a count of %1 is beyond the bound of %2 events")
                          .arg(count).arg(ServiceHost::kMaxEventCount));
    if (text.size() > ServiceHost::kMaxEventText)
        return refuse(QStringLiteral("a text of %1 characters is beyond the bound of %2")
                          .arg(text.size()).arg(ServiceHost::kMaxEventText));
    if (s_floods >= ServiceHost::kMaxFloods) {
        call.error(DBUS_ERROR_LIMITS_EXCEEDED, QStringLiteral("EmitEvents: %1 floods are running already; try again "
                                                              "when one has ended").arg(s_floods));
        return;
    }
    auto flood = std::make_shared<Flood>(Flood{stand, text, count, call, host, {}, nullptr});
    flood->running.start();
    if (!call.sender().isEmpty())
        flood->caller = std::make_unique<BusNameWatch>(call.connection(), call.sender());
    ++s_floods;
    run(flood);
}
