// Renders the main panel in its large and its compact look, with plausible
// readings, to PNG files for looking at it by eye:
//   panel_preview [output folder]   (default /work/screens/layout)
#include "main/panel/MainPanel.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/work/screens/layout");
    QDir().mkpath(out);
    MainPanel panel;
    panel.show();
    app.processEvents();
    panel.grab().save(out + "/large.png");
    panel.btnGUIClose_Released();
    app.processEvents();
    panel.grab().save(out + "/compact.png");
    return 0;
}
