#include "state/MicroscopeList.h"

CommandLineRequest parseCommandLine(const QStringList& args, const QStringList& names) {
    CommandLineRequest r;
    for (int t = 1; t < args.size(); ++t) {
        const QString& token = args.at(t);
        if (token == QLatin1String("/SIM")) {
            r.RequestedMic = 46;
            r.SimMode = true;
        } else if (token == QLatin1String("/C")) {
            r.CompactRequest = 1;
        }
        for (int i = 1; i < names.size(); ++i) {
            if (token == names.at(i)) {
                r.RequestedMic = static_cast<int16_t>(i);
                break;
            }
        }
    }
    return r;
}

QVector<MicroscopeEntry> buildMicroscopeList(const QStringList& names, int16_t requestedMic,
                                             const std::function<bool(int16_t)>& isAvailable) {
    QVector<MicroscopeEntry> list;
    if (requestedMic == 46) {
        if (!names.isEmpty())
            list.append({names.at(0), 0});
        return list;
    }
    for (int i = 1; i < names.size(); ++i) {
        QString name = names.at(i);
        if (name.trimmed().isEmpty())
            name = QStringLiteral("NoName");
        if (isAvailable(static_cast<int16_t>(i)))
            list.append({name, static_cast<int16_t>(i)});
    }
    return list;
}

QString shownName(const QString& name, const QString& computer) {
    return computer.isEmpty() ? name : computer + QStringLiteral(": ") + name;
}

int16_t decideSelectedMic(int entryCount, int16_t requestedMic) {
    if (entryCount == 1)
        return 0;
    if (entryCount >= 2 && requestedMic == -1)
        return NeedsDialog;
    return requestedMic;
}
