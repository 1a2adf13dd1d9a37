#include "mainwindow/tools/frmVersion2.h"

#include "core/base/Version.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QGridLayout>

namespace {

PanelLabel* value(QWidget* parent, const char* name, const QString& accessible) {
    PanelLabel* l = panelLook::valueLabel(parent, QLatin1String(name), accessible);
    l->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return l;
}

PanelLabel* caption(QWidget* parent, const char* name, const QString& text) {
    PanelLabel* l = panelLook::caption(parent, text);
    l->setObjectName(QLatin1String(name));
    l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return l;
}

} // namespace

frmVersion2::frmVersion2(QWidget* owner) : ToolWindow(QStringLiteral("frmVersion2"), QStringLiteral("Version"), owner) {
    labApp = caption(this, "labApp", QStringLiteral("Zentor :"));
    txtApp = value(this, "txtApp", QStringLiteral("Program version"));
    labQ7s = caption(this, "labQ7s", QStringLiteral("Q7s :"));
    txtQ7s = value(this, "txtQ7s", QStringLiteral("Stand firmware"));
    labZ = caption(this, "labZ", QStringLiteral("Focus Drive :"));
    txtZ = value(this, "txtZ", QStringLiteral("Focus drive firmware"));
    labTolva = caption(this, "labTolva", QStringLiteral("Tolva :"));
    txtTolva = value(this, "txtTolva", QStringLiteral("Controller firmware"));
    labHBX = caption(this, "labHBX", QStringLiteral("HBX :"));
    txtHBX = value(this, "txtHBX", QStringLiteral("Hub firmware"));
    btnClose = button("btnClose", QStringLiteral("OK"), QStringLiteral("Close the version panel"));

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(18, 16, 18, 12);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(6);
    const std::pair<PanelLabel*, PanelLabel*> rows[] = {
        {labApp, txtApp}, {labQ7s, txtQ7s}, {labZ, txtZ}, {labTolva, txtTolva}, {labHBX, txtHBX}};
    int r = 0;
    for (const auto& row : rows) {
        grid->addWidget(row.first, r, 0);
        grid->addWidget(row.second, r, 1);
        ++r;
    }
    grid->setRowMinimumHeight(r++, 8);
    grid->addWidget(btnClose, r, 1, Qt::AlignRight);
    grid->setColumnStretch(1, 1);
    setMinimumWidth(300);
    connect(btnClose, &usrButton::Released, this, [this] { unload(); });
    Form_Load();
}

QString frmVersion2::AppVersionText() {
    return QStringLiteral("V%1.%2.%3").arg(ZentorVersion::Major).arg(ZentorVersion::Minor).arg(ZentorVersion::Revision);
}

void frmVersion2::Form_Load() {
    for (PanelLabel* l : {txtQ7s, txtHBX, txtZ, txtTolva})
        l->setCaption(QString());
    txtApp->setCaption(AppVersionText());

    struct Line {
        int16_t unit;
        PanelLabel* label;
        const char* captionText;   // null: the design's caption stays
        PanelLabel* value;
        bool afterColon;
    };
    const Line lines[] = {
        {UnitIndex::Q7s, labQ7s, nullptr, txtQ7s, false},
        {UnitIndex::ZController, labZ, nullptr, txtZ, false},
        {UnitIndex::Tolva, labTolva, nullptr, txtTolva, true},
        {UnitIndex::HBX_A, labHBX, "HBX-A :", txtHBX, false},
        {UnitIndex::HBX_B, labHBX, "HBX-B :", txtHBX, false},
        {UnitIndex::E_LM_K, labHBX, "E-LM-K :", txtHBX, false},
    };
    const MainState& s = mainState();
    MicroscopeService* svc = s.MicConnected ? s.micService : nullptr;
    try {
        // Row by row: a unit present shows its caption and its version, one
        // absent hides its caption only. The hubs share one line, so the
        // last hub row decides whether its caption shows.
        for (const Line& l : lines) {
            const bool present = svc && svc->DeviceStatus(l.unit) == 1;
            if (present) {
                if (l.captionText)
                    l.label->setCaption(QLatin1String(l.captionText));
                QString text = svc->Version(l.unit);
                if (l.afterColon)
                    text = QStringLiteral("V") + text.mid(text.indexOf(QLatin1Char(':')) + 1);
                l.value->setCaption(text);
            }
            l.label->setVisible(present);
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Read Version Error"));
    }
}
