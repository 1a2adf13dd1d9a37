#pragma once
// A fuzz target's Qt messages: the libraries' warnings about what they refuse
// are expected and would drown the run, so only critical and fatal messages
// are printed, and a fatal one aborts for the fuzzer to catch.
#include <QtGlobal>
#include <cstdio>
#include <cstdlib>

inline void fuzzOnlyGraveMessages(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg || type == QtCriticalMsg) {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
        if (type == QtFatalMsg)
            std::abort();
    }
}
