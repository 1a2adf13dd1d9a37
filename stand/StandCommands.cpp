// The controller's raw command language, as SendCommand passes it through.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <QRegularExpression>

using namespace standfail;

namespace {

// An unknown command is quoted in its answer, but only its beginning.
QString quoted(const QString& cmd) {
    constexpr int kQuoted = 64;
    return cmd.size() <= kQuoted ? cmd : cmd.left(kQuoted) + QStringLiteral("...");
}

} // namespace

QVariant StandEngine::sendCommand(const StandArgs& a, StandReply& done) {
    const QString raw = a.text(0);
    // Refused before it is looked at, and not repeated in the refusal.
    if (raw.size() > SimulatedStand::kLongestCommand)
        invalid(QStringLiteral("A raw command is at most %1 characters; this one has %2")
                    .arg(SimulatedStand::kLongestCommand).arg(raw.size()));
    const QVariant reply = commandReply(raw.trimmed(), done);
    if (reply.typeId() == QMetaType::QString && reply.toString().size() > SimulatedStand::kLongestReply)
        return reply.toString().left(SimulatedStand::kLongestReply);
    return reply;
}

QVariant StandEngine::commandReply(const QString& cmd, StandReply& done) {
    static const QRegularExpression kGas(QStringLiteral("^cGAS([+-]?\\d{1,9})$"));
    static const QRegularExpression kAddress(QStringLiteral("^(rOPR|rXPR)(\\d{1,3})$"));
    static const QRegularExpression kVer(QStringLiteral("^rVER(\\d?)$"));
    auto zDrive = [this](const QString& c) {
        if (m_d.devices[DeviceIndex::ZDrive].status == 0) return c + QStringLiteral("!,E01 no focus drive");
        if (!unitAlive(m_d.unitOf(DeviceIndex::ZDrive)))
            refuse(RunTimeError::ServiceFailure, QStringLiteral("The focus drive does not answer"));
        return QString();
    };
    QRegularExpressionMatch match;
    if ((match = kGas.match(cmd)).hasMatch()) {
        if (QString e = zDrive(QStringLiteral("cGAS")); !e.isEmpty()) return e;
        const double z = match.captured(1).toDouble();
        const StandLimits l = m_d.limits.value(LimitIndex::ZDrive);
        if (z < l.lower || z > l.upper) return QStringLiteral("cGAS!,E02 out of range");
        if (m_zEscape) return QStringLiteral("cGAS!,E03 escaped");
        if (m_axis[Z]->busy()) return QStringLiteral("cGAS!,E04 busy");
        moveAxes({{Z, z}}, done, [] { return QVariant(QStringLiteral("cGAS+")); });
        return {};
    }
    if (cmd == QLatin1String("cOPS2")) {
        if (QString e = zDrive(cmd); !e.isEmpty()) return e;
        const int16_t address = nosepieceAddress();
        if (address < 1 || address > m_d.focusMemory.size()) return QStringLiteral("cOPS2!,E05 no objective");
        m_d.focusMemory[address - 1] = counts(Z);
        return QStringLiteral("cOPS2+");
    }
    if (cmd == QLatin1String("rSPR")) {
        if (QString e = zDrive(cmd); !e.isEmpty()) return e;
        return QString::number(counts(Z));
    }
    if ((match = kAddress.match(cmd)).hasMatch()) {
        const QString op = match.captured(1);
        const int address = match.captured(2).toInt();
        if (address < 1 || address > m_d.focusMemory.size()) return op + QStringLiteral("!,E06 no such address");
        if (op == QLatin1String("rOPR")) {
            if (QString e = zDrive(op); !e.isEmpty()) return e;
            return op + QString::asprintf("%+08d", m_d.focusMemory[address - 1]);
        }
        const auto& xy = m_d.stageMemory[address - 1];
        return QStringLiteral("X") + QString::asprintf("%+07d%+07d", xy.first, xy.second);
    }
    if ((match = kVer.match(cmd)).hasMatch()) {
        const int u = match.captured(1).isEmpty() ? 1 : match.captured(1).toInt();
        if (u < 1 || u > StandDescription::kUnits || !m_d.units[u] || m_dead[u]) return QStringLiteral("rVER!,E07 no such unit");
        return QStringLiteral("rVER,") + m_d.versions[u];
    }
    if (cmd == QLatin1String("rUST")) {
        QString r = QStringLiteral("rUST");
        for (int u = 1; u <= StandDescription::kUnits; ++u) r += QLatin1Char(',') + QString::number(!m_d.units[u] ? 0 : m_dead[u] ? 2 : 1);
        return r;
    }
    static const QRegularExpression kMax(QStringLiteral("^cNMX(\\d{1,2})$"));
    if ((match = kMax.match(cmd)).hasMatch()) {
        // The usable range of the nosepiece changes (an address blocked or freed).
        const int max = match.captured(1).toInt();
        if (max < 1 || max > int(m_d.limits.value(LimitIndex::Nosepiece).upper)) return QStringLiteral("cNMX!,E08 out of range");
        m_nosepieceMax = int16_t(max);
        m_nosepieceMaxReported = true;
        m_reported.remove(QStringLiteral("AppNosepieceMaxValue"));
        report("AppNosepieceMaxValue", QString::number(max));
        return QStringLiteral("cNMX+");
    }
    if (cmd == QLatin1String("rNOB")) return QStringLiteral("rNOB,") + QString::number(nosepieceAddress());
    if (cmd.isEmpty()) return QStringLiteral("ERR,empty command");
    return QStringLiteral("ERR,unknown command \"%1\"").arg(quoted(cmd));
}
