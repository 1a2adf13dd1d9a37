#pragma once
// The file and colour dialogs of the panel. Every caller goes through here;
// while a test has installed an Answerer, the dialogs are recorded and
// answered by the test, so that no test ever waits for a person.
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>

class QWidget;

namespace Dialogs {

// The open dialog: an existing file in an existing folder, read-only choice
// hidden, no filter. Answers the chosen path, or empty when cancelled.
QString openFileName(QWidget* owner);
// The save dialog: asks before overwriting, the folder must exist, no filter
// or default extension. Answers the chosen path, or empty when cancelled.
QString saveFileName(QWidget* owner);
// The colour dialog, starting at `colour` (0x00BBGGRR). Answers the chosen
// colour, or -1 when the operator cancels.
int32_t Color_Dialog(QWidget* owner, int32_t colour);

enum Kind { Open, Save, Colour };

// Test support: while an Answerer lives, every dialog is recorded (its kind)
// and answered by `file` (a path, empty for cancel) or `colour` (given the
// initial colour; -1 for cancel).
class Answerer {
public:
    Answerer(std::function<QString(Kind)> file, std::function<int32_t(int32_t)> colour = {});
    ~Answerer();
    Answerer(const Answerer&) = delete;
    Answerer& operator=(const Answerer&) = delete;
    const QList<Kind>& asked() const { return m_asked; }

private:
    friend QString openFileName(QWidget*);
    friend QString saveFileName(QWidget*);
    friend int32_t Color_Dialog(QWidget*, int32_t);
    std::function<QString(Kind)> m_file;
    std::function<int32_t(int32_t)> m_colour;
    QList<Kind> m_asked;
    Answerer* m_previous = nullptr;
};

} // namespace Dialogs
