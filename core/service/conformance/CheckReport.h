#pragma once
// The record of a conformance run: one line per check, saying what was done,
// what was expected and what came back, and a summary. Lines are handed to a
// printer as they are made, so that a run on a slow stand shows its progress.
#include <QString>
#include <QVector>
#include <functional>

struct CheckLine {
    enum class Verdict { Pass, Fail, Skip };
    Verdict verdict = Verdict::Pass;
    QString what;       // what the check did ("setNosepiecePosition(3)")
    QString expected;   // what the interface asks for
    QString got;        // what came back; for a skip, why it was not run
};

class CheckReport {
public:
    using Printer = std::function<void(const CheckLine&)>;
    explicit CheckReport(Printer printer = {}) : m_printer(std::move(printer)) {}

    // A check that passes when `ok` holds.
    bool check(bool ok, const QString& what, const QString& expected, const QString& got);
    void pass(const QString& what, const QString& expected, const QString& got) { check(true, what, expected, got); }
    void fail(const QString& what, const QString& expected, const QString& got) { check(false, what, expected, got); }
    void skip(const QString& what, const QString& why);

    const QVector<CheckLine>& lines() const { return m_lines; }
    int count(CheckLine::Verdict verdict) const;
    int failures() const { return count(CheckLine::Verdict::Fail); }
    // The failed lines, each formatted; empty when none failed.
    QStringList failedLines() const;

    // "PASS  what -- expected: ...; got: ..." on one line.
    static QString format(const CheckLine& line);
    // "42 checks: 40 passed, 1 failed, 1 skipped".
    QString summary() const;

private:
    Printer m_printer;
    QVector<CheckLine> m_lines;
};
