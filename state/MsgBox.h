#pragma once
// The one message box of the system. Every caller goes through MsgBox::show,
// which shows a QMessageBox, or, when a test has installed a recorder, records
// the text, buttons, icon and title and answers as the test says, so that no
// test ever blocks on a dialog.
#include <QString>
#include <QVector>
#include <functional>

class QWidget;

namespace MsgBox {

enum Icon { NoIcon = 0, Critical = 16, Question = 32, Exclamation = 48, Information = 64 };
enum Buttons { OKOnly = 0, OKCancel = 1, YesNo = 4 };
enum Answer { OK = 1, Cancel = 2, Yes = 6, No = 7 };

struct Shown {
    QString text;
    Buttons buttons = OKOnly;
    Icon icon = NoIcon;
    QString title;      // empty: the application's default title
    bool systemModal = false;
};

// Shows the box (or hands it to the recorder) and answers the button pressed.
Answer show(const QString& text, Buttons buttons = OKOnly, Icon icon = NoIcon,
            const QString& title = QString(), bool systemModal = false);

// The application's default title, used when a box has none of its own.
QString defaultTitle();

// The look a shown box takes (the panel's dark look), given by the window
// layer that owns it; without one a box keeps the platform's look.
void setStyler(std::function<void(QWidget* box)> styler);

// An orderly close on a signal: nobody is there to answer a box. While
// unattended, a box is not shown; its text goes to the standard error and
// the box answers as its Escape key would (OK, Cancel, No).
void setUnattended(bool unattended);
bool unattended();
// Answers every box now waiting as its Escape key would, so that the code
// that showed it goes on.
void dismissOpen();

// Test support: while a Recorder lives, boxes are recorded and answered by
// `answer` (OK, or Yes for a Yes/No box, when none is given).
class Recorder {
public:
    explicit Recorder(std::function<Answer(const Shown&)> answer = {});
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    const QVector<Shown>& shown() const { return m_shown; }
    QStringList texts() const;
    void clear() { m_shown.clear(); }

private:
    friend Answer show(const QString&, Buttons, Icon, const QString&, bool);
    QVector<Shown> m_shown;
    std::function<Answer(const Shown&)> m_answer;
    Recorder* m_previous = nullptr;
};

} // namespace MsgBox
