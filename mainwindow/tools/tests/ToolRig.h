#pragma once
// The tools' world in one test: the device panels' rig (a simulated stand in
// this process, connected, boxes recorded) with the tool windows registered,
// and stand-in programs that record their arguments.
#include "devicepanels/optics/tests/PanelRig.h"
#include "mainwindow/tools/ToolForms.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

struct ToolRig : PanelRig {
    explicit ToolRig(const QStringList& descriptions = {shippedStand("full-system.json")})
        : PanelRig(descriptions) {
        registerToolForms(&owner);
    }
    ~ToolRig() {
        for (const char* f : {"frmEvent", "frmVersion2", "frmCommand"})
            FormRegistry::unload(QLatin1String(f));
    }
    template <typename Form>
    Form* show(const char* name) {
        auto* f = qobject_cast<Form*>(showToolForm(QLatin1String(name)));
        pumpEvents();
        return f;
    }
};

// A stand-in program at `path` that appends its arguments, one line per run
// ("arg1|arg2"), to `path`.log.
inline void standIn(const QString& path, bool executable = true) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write("#!/bin/sh\nIFS='|'\nprintf '%s\\n' \"$*\" >> \"$0.log\"\n");
    f.close();
    f.setPermissions(executable ? QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                : QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

// What the stand-in recorded, waiting up to two seconds for it (it runs detached).
inline QString recorded(const QString& path, int runs = 1) {
    QElapsedTimer t;
    t.start();
    QByteArray log;
    do {
        QFile f(path + QStringLiteral(".log"));
        if (f.open(QIODevice::ReadOnly))
            log = f.readAll();
        if (log.count('\n') >= runs)
            break;
        pumpEvents(20);
    } while (t.elapsed() < 2000);
    return QString::fromUtf8(log);
}

// PATH for the test: a folder of its own first, so that stand-ins placed there
// are found before the machine's programs; `only` leaves the rest out.
inline QString testBin(bool only = false) {
    const QString bin = testHome() + QStringLiteral("/bin");
    QDir().mkpath(bin);
    static const QByteArray original = qgetenv("PATH");
    qputenv("PATH", only ? bin.toUtf8() : bin.toUtf8() + ':' + original);
    // The desktop's own openers are not asked: xdg-open decides.
    qunsetenv("XDG_CURRENT_DESKTOP");
    qunsetenv("DESKTOP_SESSION");
    qunsetenv("KDE_FULL_SESSION");
    qunsetenv("GNOME_DESKTOP_SESSION_ID");
    return bin;
}
