#include "state/MsgBox.h"

#include "core/base/OperatorWait.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QStringList>
#include <cstdio>

namespace MsgBox {
namespace {
Recorder* g_recorder = nullptr;
std::function<void(QWidget*)> g_styler;
bool g_unattended = false;
QList<QPointer<QMessageBox>> g_open;  // boxes now waiting, innermost last

// What nobody's answer is: the box's Escape key.
Answer escapeAnswer(Buttons buttons) {
    switch (buttons) {
    case OKCancel: return Cancel;
    case YesNo: return No;
    default: return OK;
    }
}

// The window a box belongs to, so that it stands over that window's centre:
// the active one, else the visible main window.
QWidget* owner() {
    if (QWidget* w = QApplication::activeWindow())
        return w;
    QWidget* best = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (!w->isVisible() || qobject_cast<QMessageBox*>(w) || w->windowType() != Qt::Window)
            continue;
        if (!best || w->width() * w->height() > best->width() * best->height())
            best = w;
    }
    return best;
}

Answer defaultAnswer(const Shown& s) {
    switch (s.buttons) {
    case YesNo: return Yes;
    default: return OK;
    }
}
} // namespace

void setStyler(std::function<void(QWidget*)> styler) { g_styler = std::move(styler); }

void setUnattended(bool unattended) { g_unattended = unattended; }
bool unattended() { return g_unattended; }

void dismissOpen() {
    for (const QPointer<QMessageBox>& box : g_open) {
        if (!box)
            continue;
        if (QAbstractButton* escape = box->escapeButton())
            escape->click();
        else
            box->reject();
    }
}

QString defaultTitle() {
    const QString name = QCoreApplication::applicationName();
    return name.isEmpty() ? QStringLiteral("Zentor") : name;
}

Recorder::Recorder(std::function<Answer(const Shown&)> answer)
    : m_answer(std::move(answer)), m_previous(g_recorder) {
    g_recorder = this;
}

Recorder::~Recorder() { g_recorder = m_previous; }

QStringList Recorder::texts() const {
    QStringList out;
    for (const Shown& s : m_shown)
        out << s.text;
    return out;
}

Answer show(const QString& text, Buttons buttons, Icon icon, const QString& title, bool systemModal) {
    // The operator may take any time to answer: what was read of the stand
    // before the box is read afresh after it.
    struct OperatorAsked {
        OperatorAsked() { operatorWait::mark(); }
        ~OperatorAsked() { operatorWait::mark(); }
    } asked;
    const Shown shown{text, buttons, icon, title, systemModal};
    if (g_recorder) {
        g_recorder->m_shown.append(shown);
        return g_recorder->m_answer ? g_recorder->m_answer(shown) : defaultAnswer(shown);
    }
    if (g_unattended) {
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
        std::fflush(stderr);
        return escapeAnswer(shown.buttons);
    }
    QMessageBox box(owner());
    if (g_styler)
        g_styler(&box);
    box.setText(text);
    box.setWindowTitle(title.isEmpty() ? defaultTitle() : title);
    switch (icon) {
    case Critical: box.setIcon(QMessageBox::Critical); break;
    case Question: box.setIcon(QMessageBox::Question); break;
    case Exclamation: box.setIcon(QMessageBox::Warning); break;
    case Information: box.setIcon(QMessageBox::Information); break;
    case NoIcon: break;
    }
    switch (buttons) {
    case OKOnly:
        box.setStandardButtons(QMessageBox::Ok);
        box.setEscapeButton(QMessageBox::Ok);
        break;
    case OKCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        box.setEscapeButton(QMessageBox::Cancel);
        break;
    case YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box.setEscapeButton(QMessageBox::No);
        break;
    }
    if (systemModal)
        box.setWindowModality(Qt::ApplicationModal);
    // Device panels stay above every window; a box they wait on must not
    // open beneath them.
    box.setWindowFlag(Qt::WindowStaysOnTopHint);
    g_open.append(QPointer<QMessageBox>(&box));
    // Beside the window's caption, the end-to-end tests wait for the boxes.
    if (qEnvironmentVariableIsSet("ZENTOR_PRINT_CAPTION")) {
        std::fprintf(stderr, "box: %s\n", text.toLocal8Bit().constData());
        std::fflush(stderr);
    }
    const int pressed = box.exec();
    g_open.removeAll(QPointer<QMessageBox>(&box));
    g_open.removeAll(QPointer<QMessageBox>());
    switch (pressed) {
    case QMessageBox::Cancel: return Cancel;
    case QMessageBox::Yes: return Yes;
    case QMessageBox::No: return No;
    default: return OK;
    }
}

} // namespace MsgBox
