#include "devicepanels/profiles/Dialogs.h"

#include "widgets/Units.h"

#include <QColorDialog>
#include <QFileDialog>

namespace Dialogs {

namespace {
Answerer* g_answerer = nullptr;
}

Answerer::Answerer(std::function<QString(Kind)> file, std::function<int32_t(int32_t)> colour)
    : m_file(std::move(file)), m_colour(std::move(colour)), m_previous(g_answerer) {
    g_answerer = this;
}

Answerer::~Answerer() { g_answerer = m_previous; }

QString openFileName(QWidget* owner) {
    if (g_answerer) {
        g_answerer->m_asked << Open;
        return g_answerer->m_file ? g_answerer->m_file(Open) : QString();
    }
    // The open mode itself asks for an existing file in an existing folder,
    // and it has no read-only box to hide.
    return QFileDialog::getOpenFileName(owner);
}

QString saveFileName(QWidget* owner) {
    if (g_answerer) {
        g_answerer->m_asked << Save;
        return g_answerer->m_file ? g_answerer->m_file(Save) : QString();
    }
    // Asking before an overwrite is the save dialog's default.
    return QFileDialog::getSaveFileName(owner);
}

int32_t Color_Dialog(QWidget* owner, int32_t colour) {
    if (g_answerer) {
        g_answerer->m_asked << Colour;
        return g_answerer->m_colour ? g_answerer->m_colour(colour) : -1;
    }
    const QColor chosen = QColorDialog::getColor(zentor::colorFromBgr(colour), owner);
    return chosen.isValid() ? zentor::bgrFromColor(chosen) : -1;
}

} // namespace Dialogs
