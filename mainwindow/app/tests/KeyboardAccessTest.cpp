// The main window and its dialog by keyboard alone, and what they tell
// assistive technology: tab order, Space and Enter, the menu letters, the
// selector's focus, the microscope dialog, names, roles and values.
#include "mainwindow/app/tests/MainWindowTestSupport.h"
#include "widgets/FocusHandBack.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "widgets/usrXscroll.h"
#include "widgets/usrYscroll.h"

#include <QAccessible>
#include <QCheckBox>
#include <QListWidget>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QWidget* focused() { return QApplication::focusWidget(); }

QAccessibleInterface* acc(QObject* o) { return QAccessible::queryAccessibleInterface(o); }
QString accName(QObject* o) { return acc(o)->text(QAccessible::Name); }

void key(int k, Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QWidget* target = focused() ? focused() : QApplication::activeWindow();
    QTest::keyClick(target, Qt::Key(k), mods);
    pump(10);
}

// The controls Tab visits from `start` round to it again.
std::vector<QWidget*> tabRound(QWidget* start) {
    start->setFocus(Qt::TabFocusReason);
    pump(10);
    std::vector<QWidget*> seen;
    for (int i = 0; i < 400; ++i) {
        seen.push_back(focused());
        key(Qt::Key_Tab);
        if (focused() == start)
            break;
    }
    return seen;
}

bool operable(QWidget* w) {
    return w->isVisible() && w->isEnabled() && (w->focusPolicy() & Qt::TabFocus);
}

struct KeyboardWindow : testing::Test {
    MainRun run{{standFile("full-system.json")}};
    frmMain* w = nullptr;
    MainPanel* ui = nullptr;
    void SetUp() override {
        w = run.start({QStringLiteral("/SIM")});
        ui = run.ui();
        w->activateWindow();
        pump(50);
        ASSERT_TRUE(mainState().MicConnected);
    }
};

} // namespace

TEST_F(KeyboardWindow, TabVisitsEveryControlOnceInTheOrderOfTheLayout) {
    const std::vector<QWidget*> round = tabRound(ui->labmenu[1]);
    // Every control that can be operated is on the round, once.
    for (QWidget* c : w->findChildren<QWidget*>()) {
        if (!operable(c) || c->inherits("QScrollBar"))
            continue;
        EXPECT_EQ(std::count(round.begin(), round.end(), c), 1)
            << c->metaObject()->className() << " \"" << accName(c).toStdString() << "\" is not on the tab round once";
    }
    auto at = [&](QWidget* c) { return std::find(round.begin(), round.end(), c) - round.begin(); };
    // Menu entries first, then the open section, then the device area.
    for (int i = 1; i < 5; ++i)
        EXPECT_LT(at(ui->labmenu[i]), at(ui->labmenu[i + 1]));
    EXPECT_LT(at(ui->labmenu[5]), at(ui->labObserve[1]));
    EXPECT_LT(at(ui->btnProfile), at(ui->btnFrmPath[0]));
    // The large panel's left column from top to bottom, then the drawing.
    std::vector<QWidget*> left;
    for (QWidget* c : round)
        if (c->parentWidget() && c->parentWidget()->parentWidget() == ui->picMain
            && c->parentWidget()->x() == ui->frmPath[0]->x())
            left.push_back(c);
    ASSERT_GE(left.size(), 8u);
    for (size_t i = 1; i < left.size(); ++i)
        EXPECT_LE(left[i - 1]->parentWidget()->y(), left[i]->parentWidget()->y())
            << accName(left[i - 1]).toStdString() << " before " << accName(left[i]).toStdString();
    EXPECT_LT(at(ui->btnClamp[0]), at(ui->usrMainPath));
    EXPECT_LT(at(ui->usrMainPath), at(ui->btnEpiFS[0]));
}

TEST_F(KeyboardWindow, TheCompactLookIsOperatedLineByLine) {
    ui->btnGUIClose->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    ASSERT_EQ(ui->PanelMode, 2);
    const std::vector<QWidget*> round = tabRound(ui->labmenu[1]);
    std::vector<QWidget*> lines;
    for (QWidget* c : round)
        if (ui->frmSub->isAncestorOf(c) && c != ui->btnGUIOpen)
            lines.push_back(c);
    ASSERT_GE(lines.size(), 10u);
    for (size_t i = 1; i < lines.size(); ++i)
        EXPECT_LT(lines[i - 1]->mapTo(ui->frmSub, QPoint()).y(), lines[i]->mapTo(ui->frmSub, QPoint()).y())
            << accName(lines[i - 1]).toStdString() << " before " << accName(lines[i]).toStdString();
    for (QWidget* c : lines)
        EXPECT_TRUE(accName(c).endsWith(QStringLiteral(" panel")) || accName(c) == QStringLiteral("Analyzer in or out"));
    ui->btnGUIOpen->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Return);
    EXPECT_EQ(ui->PanelMode, 1);
}

TEST_F(KeyboardWindow, EveryControlOnTheRoundHasARoleAndAName) {
    for (QWidget* c : tabRound(ui->labmenu[1])) {
        QAccessibleInterface* a = acc(c);
        ASSERT_NE(a, nullptr);
        EXPECT_NE(a->role(), QAccessible::Client) << c->metaObject()->className() << " " << accName(c).toStdString();
        EXPECT_NE(a->role(), QAccessible::NoRole);
        EXPECT_FALSE(accName(c).trimmed().isEmpty()) << c->metaObject()->className() << " " << c->objectName().toStdString() << " has no name";
    }
    EXPECT_EQ(accName(ui->labmenu[4]), QStringLiteral("Observation Method"));
    EXPECT_EQ(acc(ui->labmenu[4])->role(), QAccessible::Button);
    EXPECT_EQ(accName(ui->btnObj[0]), QStringLiteral("Objective panel"));
    EXPECT_EQ(accName(ui->downObj), QStringLiteral("Choose the objective"));
    EXPECT_EQ(accName(ui->btnSetup[1]), QStringLiteral("Control Pad Setup"));
}

TEST_F(KeyboardWindow, ReadingsAreNamedByTheirDevice) {
    const QString shown = ui->ObjCmd[0]->Caption().simplified();
    ASSERT_FALSE(shown.isEmpty());
    EXPECT_EQ(accName(ui->ObjCmd[0]), QStringLiteral("Objective ") + shown);
    EXPECT_EQ(acc(ui->ObjCmd[0])->role(), QAccessible::StaticText);
    EXPECT_TRUE(accName(ui->Zcmd[0]).startsWith(QStringLiteral("Z focus ")));
    EXPECT_TRUE(accName(ui->Xcmd[0]).startsWith(QStringLiteral("Stage X ")));
    EXPECT_TRUE(accName(ui->Ycmd[0]).startsWith(QStringLiteral("Stage Y ")));
}

TEST_F(KeyboardWindow, AltAndALetterOpensEachMenuSectionAndTheArrowGivesTheFocusBack) {
    const std::pair<Qt::Key, PanelFrame*> sections[] = {{Qt::Key_C, ui->frmConnect}, {Qt::Key_S, ui->frmSetting},
                                                        {Qt::Key_I, ui->frmInfo},    {Qt::Key_U, ui->frmOther},
                                                        {Qt::Key_O, ui->frmObserve}};
    for (const auto& [letter, frame] : sections) {
        key(letter, Qt::AltModifier);
        EXPECT_TRUE(frame->isVisible()) << accName(frame).toStdString();
        EXPECT_TRUE(frame->isAncestorOf(focused())) << accName(frame).toStdString() << " did not take the focus";
    }
    key(Qt::Key_C, Qt::AltModifier);
    ASSERT_EQ(focused(), ui->downConnect);
    key(Qt::Key_Tab);
    w->grab().save(testHome() + QStringLiteral("/keyboard-connection.png"));
    key(Qt::Key_Tab, Qt::ShiftModifier);
    ASSERT_EQ(focused(), ui->downConnect);
    key(Qt::Key_Space);
    EXPECT_FALSE(ui->frmConnect->isVisible());
    EXPECT_EQ(focused(), ui->labmenu[1]);
    w->grab().save(testHome() + QStringLiteral("/keyboard-menu-entry.png"));
    // Enter on the entry opens it again.
    key(Qt::Key_Return);
    EXPECT_TRUE(ui->frmConnect->isVisible());
}

TEST_F(KeyboardWindow, TheSelectorTakesTheFocusPicksByKeysAndGivesItBack) {
    MainState& s = mainState();
    const int16_t before = s.micService->NosepiecePosition();
    ui->downObj->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    ASSERT_TRUE(ui->picSelect->isVisible());
    EXPECT_EQ(focused(), ui->txtAdd);
    key(Qt::Key_Escape);
    EXPECT_FALSE(ui->picSelect->isVisible());
    EXPECT_EQ(focused(), ui->downObj);

    key(Qt::Key_Return);
    ASSERT_EQ(focused(), ui->txtAdd);
    key(Qt::Key_Down);
    key(Qt::Key_Up);
    // Kept for looking at: the keyboard's cursor in the open selector.
    w->grab().save(testHome() + QStringLiteral("/keyboard-selector.png"));
    const int16_t target = before < ui->txtAdd->Last() ? int16_t(before + 1) : int16_t(before - 1);
    key(target > before ? Qt::Key_Down : Qt::Key_Up);
    key(Qt::Key_Return);
    pump(50);
    EXPECT_EQ(s.micService->NosepiecePosition(), target);
    EXPECT_FALSE(ui->picSelect->isVisible());
    EXPECT_EQ(focused(), ui->downObj);
    EXPECT_TRUE(ui->ObjCmd[0]->Caption().startsWith(QString::number(target) + QStringLiteral(":")));
}

TEST_F(KeyboardWindow, TheSelectorsPositionsArePressedByAssistiveTechnology) {
    ui->downObj->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    QAccessibleInterface* list = acc(ui->txtAdd);
    ASSERT_EQ(list->role(), QAccessible::List);
    EXPECT_EQ(list->text(QAccessible::Name), QStringLiteral("Objective positions"));
    ASSERT_EQ(list->childCount(), ui->txtAdd->RowCount());
    QAccessibleInterface* second = list->child(1);
    EXPECT_EQ(second->role(), QAccessible::ListItem);
    EXPECT_EQ(second->text(QAccessible::Name), ui->txtAdd->Label(2).simplified());
    EXPECT_EQ(list->indexOfChild(second), 1);
    second->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    pump(50);
    EXPECT_EQ(mainState().micService->NosepiecePosition(), 2);
    EXPECT_TRUE(accName(ui->ObjCmd[0]).startsWith(QStringLiteral("Objective 2:")));
}

TEST_F(KeyboardWindow, LatchingButtonsAreToggleButtonsAndPressLikeTheKeyboard) {
    usrButton* b = ui->btnAp[0];
    QAccessibleInterface* a = acc(b);
    EXPECT_EQ(a->role(), QAccessible::Button);
    EXPECT_TRUE(a->state().checkable);
    QSignalSpy pressed(b, &usrButton::Pressed);
    a->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(pressed.count(), 1);
    EXPECT_TRUE(a->state().checked);
    QSignalSpy unlatched(b, &usrButton::Unlatched);
    b->setFocus();
    key(Qt::Key_Return);
    EXPECT_EQ(unlatched.count(), 1);
}

TEST(SelectionDialog, IsAnsweredWithoutAMouse) {
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    // Down to the second microscope, Enter.
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        auto* dlg = qobject_cast<SelScopeDlg*>(QApplication::activeModalWidget());
        if (!dlg || !dlg->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        EXPECT_EQ(dlg->focusWidget(), dlg->List1);
        EXPECT_EQ(dlg->List1->accessibleName(), QStringLiteral("Microscopes"));
        QTest::keyClick(dlg->List1, Qt::Key_Down);
        QTest::keyClick(dlg->List1, Qt::Key_Return);
    });
    timer->start();
    frmMain* w = run.start();
    EXPECT_EQ(w->SelectedMic, 1);
}

TEST(SelectionDialog, EscapeIsCancel) {
    MainRun run({});
    SelScopeDlg dlg;
    dlg.List1->addItems({QStringLiteral("A"), QStringLiteral("B")});
    QTimer::singleShot(50, [&dlg] { QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &dlg, Qt::Key_Escape); });
    EXPECT_EQ(dlg.choose(), -3);
}

TEST(FocusHandBack, AWindowOpenedFromTheKeyboardGivesTheFocusBackWhenItCloses) {
    QWidget main;
    auto* opener = new usrButton(&main);
    auto* other = new usrButton(&main);
    other->move(0, 40);
    main.show();
    main.activateWindow();
    opener->setFocus();
    pump(20);
    ASSERT_EQ(focused(), opener);

    QWidget panel;
    auto* first = new usrButton(&panel);
    panel.show();
    FocusHandBack::open(&panel);
    pump(20);
    EXPECT_EQ(focused(), first);
    EXPECT_EQ(FocusHandBack::openerOf(&panel), opener);
    panel.close();
    pump(20);
    EXPECT_EQ(focused(), opener);

    // The operator went elsewhere meanwhile: the focus stays where they went.
    panel.show();
    FocusHandBack::open(&panel);
    pump(20);
    main.activateWindow();
    other->setFocus();
    pump(20);
    panel.close();
    pump(20);
    EXPECT_EQ(focused(), other);
}

TEST(ValueControls, SlidersExposeValueAndRangeAndTakeAValueAsAGesture) {
    usrXscroll x;
    x.setMin(0.5);
    x.setMax(12);
    x.setValue(3.25);
    x.setAccessibleName(QStringLiteral("Aperture stop"));
    QAccessibleInterface* a = acc(&x);
    EXPECT_EQ(a->role(), QAccessible::Slider);
    EXPECT_EQ(a->text(QAccessible::Name), QStringLiteral("Aperture stop"));
    QAccessibleValueInterface* v = a->valueInterface();
    ASSERT_NE(v, nullptr);
    EXPECT_DOUBLE_EQ(v->currentValue().toDouble(), 3.25);
    EXPECT_DOUBLE_EQ(v->minimumValue().toDouble(), 0.5);
    EXPECT_DOUBLE_EQ(v->maximumValue().toDouble(), 12);
    QSignalSpy changed(&x, &usrXscroll::Changed);
    v->setCurrentValue(20.0);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_DOUBLE_EQ(x.Value(), 12);
    x.setEnabled(false);
    v->setCurrentValue(1.0);
    EXPECT_EQ(changed.count(), 1);

    usrYscroll y;
    y.setScaleMin(-100);
    y.setScaleMax(400);
    y.setPosition(25);
    QAccessibleInterface* ya = acc(&y);
    EXPECT_EQ(ya->role(), QAccessible::Slider);
    ASSERT_NE(ya->valueInterface(), nullptr);
    EXPECT_DOUBLE_EQ(ya->valueInterface()->currentValue().toDouble(), 25);
    EXPECT_DOUBLE_EQ(ya->valueInterface()->minimumValue().toDouble(), -100);
    EXPECT_DOUBLE_EQ(ya->valueInterface()->maximumValue().toDouble(), 400);
    QSignalSpy released(&y, &usrYscroll::ThumbReleased);
    ya->valueInterface()->setCurrentValue(100.0);
    EXPECT_EQ(released.count(), 1);
    EXPECT_DOUBLE_EQ(y.Position(), 100);
}
