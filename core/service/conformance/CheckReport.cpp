#include "core/service/conformance/CheckReport.h"

#include <QStringList>

namespace {

// A reply may hold line breaks; the report keeps one line per check.
QString oneLine(const QString& text)
{
    QString t = text;
    t.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    return t.size() > 400 ? t.left(400) + QStringLiteral("...") : t;
}

} // namespace

bool CheckReport::check(bool ok, const QString& what, const QString& expected, const QString& got)
{
    m_lines.append({ok ? CheckLine::Verdict::Pass : CheckLine::Verdict::Fail, what, expected, got});
    if (m_printer)
        m_printer(m_lines.last());
    return ok;
}

void CheckReport::skip(const QString& what, const QString& why)
{
    m_lines.append({CheckLine::Verdict::Skip, what, QString(), why});
    if (m_printer)
        m_printer(m_lines.last());
}

int CheckReport::count(CheckLine::Verdict verdict) const
{
    int n = 0;
    for (const CheckLine& l : m_lines)
        n += l.verdict == verdict;
    return n;
}

QStringList CheckReport::failedLines() const
{
    QStringList out;
    for (const CheckLine& l : m_lines)
        if (l.verdict == CheckLine::Verdict::Fail)
            out << format(l);
    return out;
}

QString CheckReport::format(const CheckLine& line)
{
    switch (line.verdict) {
    case CheckLine::Verdict::Skip:
        return QStringLiteral("SKIP  %1 -- %2").arg(oneLine(line.what), oneLine(line.got));
    case CheckLine::Verdict::Pass:
    case CheckLine::Verdict::Fail:
        break;
    }
    return QStringLiteral("%1  %2 -- expected: %3; got: %4")
        .arg(line.verdict == CheckLine::Verdict::Pass ? QStringLiteral("PASS") : QStringLiteral("FAIL"),
             oneLine(line.what), oneLine(line.expected), oneLine(line.got));
}

QString CheckReport::summary() const
{
    return QStringLiteral("%1 checks: %2 passed, %3 failed, %4 skipped")
        .arg(m_lines.size())
        .arg(count(CheckLine::Verdict::Pass))
        .arg(count(CheckLine::Verdict::Fail))
        .arg(count(CheckLine::Verdict::Skip));
}
