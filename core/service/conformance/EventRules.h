#pragma once
// What an OnPropertyChanged text must look like: "<name>:<value>", one of the
// names the panel dispatches, a value of that name's kind and, where the
// stand reports limits for it, within them.
#include <QHash>
#include <QString>
#include <QStringList>
#include <cstdint>

// The limits a stand reported for one limit index.
struct ReportedLimits {
    double lower = 0;
    double upper = 0;
    double step = 0;
};

namespace EventRules {

// The names the panel dispatches, in the order it compares them.
const QStringList& names();

// Why `text` is not an event the panel can take, given the limits the stand
// reported (by limit index; an index that is absent is not checked); empty
// when it is one.
QString problem(const QString& text, const QHash<int16_t, ReportedLimits>& limits);

// The name and the value of an event text (the value is what follows the
// first ':'; empty when there is none).
QString nameOf(const QString& text);
QString valueOf(const QString& text);

} // namespace EventRules
