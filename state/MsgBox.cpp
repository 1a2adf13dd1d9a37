#include "state/MsgBox.h"

#include <QApplication>
#include <QMessageBox>
#include <QStringList>

namespace MsgBox {
namespace {
Recorder* g_recorder = nullptr;

Answer defaultAnswer(const Shown& s) {
    switch (s.buttons) {
    case YesNo: return Yes;
    default: return OK;
    }
}
} // namespace

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
    const Shown shown{text, buttons, icon, title, systemModal};
    if (g_recorder) {
        g_recorder->m_shown.append(shown);
        return g_recorder->m_answer ? g_recorder->m_answer(shown) : defaultAnswer(shown);
    }
    QMessageBox box(QApplication::activeWindow());
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
    case OKOnly: box.setStandardButtons(QMessageBox::Ok); break;
    case OKCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
    case YesNo: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
    }
    if (systemModal)
        box.setWindowModality(Qt::ApplicationModal);
    switch (box.exec()) {
    case QMessageBox::Cancel: return Cancel;
    case QMessageBox::Yes: return Yes;
    case QMessageBox::No: return No;
    default: return OK;
    }
}

} // namespace MsgBox
