// The command console: Enter and Send pass the raw command to the controller
// only while the microscope is open, the reply shows as the controller wrote
// it, an empty command goes as one, a failure leaves the reply as it was, any
// other key only edits, and nothing of the console outlives it.
#include "mainwindow/tools/tests/ToolRig.h"
#include "mainwindow/tools/frmCommand.h"
#include "widgets/usrButton.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <gtest/gtest.h>

namespace {
frmCommand* console(ToolRig& rig) { return rig.show<frmCommand>("frmCommand"); }

void send(frmCommand* c, const QString& text) {
    c->txtSend->setFocus();
    c->txtSend->setText(text);
    QTest::keyClick(c->txtSend, Qt::Key_Return);
}
} // namespace

TEST(Console, EnterSendsTheCommandAndTheReplyShowsInItsFormat) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->windowTitle(), "Command");
    send(c, QStringLiteral("rVER1"));
    EXPECT_TRUE(c->txtReply->toPlainText().startsWith(QStringLiteral("rVER,")));
    send(c, QStringLiteral("rOPR1"));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^rOPR[+-]\\d{7}$")).match(c->txtReply->toPlainText()).hasMatch())
        << c->txtReply->toPlainText().toStdString();
    c->txtSend->setText(QStringLiteral("rXPR2"));
    PanelRig::click(c->btnSend);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^X[+-]\\d{6}[+-]\\d{6}$")).match(c->txtReply->toPlainText()).hasMatch());
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(Console, WithTheMicroscopeClosedEnterAndSendDoNothing) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    c->txtReply->setPlainText(QStringLiteral("earlier"));
    mainState().MicConnected = false;
    send(c, QStringLiteral("rSPR"));
    PanelRig::click(c->btnSend);
    EXPECT_EQ(c->txtReply->toPlainText(), "earlier");
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(Console, AnyOtherKeyOnlyEdits) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    c->txtSend->setFocus();
    QTest::keyClicks(c->txtSend, QStringLiteral("rSPRx"));
    QTest::keyClick(c->txtSend, Qt::Key_Backspace);
    QTest::keyClick(c->txtSend, Qt::Key_Tab);
    EXPECT_EQ(c->txtSend->text(), "rSPR");
    EXPECT_TRUE(c->txtReply->toPlainText().isEmpty());
}

TEST(Console, AnEmptyCommandIsSentAsAnEmptyCommand) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    send(c, QString());
    EXPECT_EQ(c->txtReply->toPlainText(), "ERR,empty command");
}

TEST(Console, AFailedCommandGivesTheMessageAndKeepsTheReply) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    send(c, QStringLiteral("rSPR"));
    const QString before = c->txtReply->toPlainText();
    rig.faults().killUnit(UnitIndex::ZController);   // the focus drive no longer answers
    send(c, QStringLiteral("rSPR"));
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Device_SendCommand Error"});
    EXPECT_EQ(c->txtReply->toPlainText(), before);
}

TEST(Console, HugeAndNonAsciiCommandsAreAnsweredWithoutHarm) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    // Within the controller's bound an unknown command is answered, quoting
    // only its beginning.
    send(c, QString(SimulatedStand::kLongestCommand, QLatin1Char('r')));
    EXPECT_TRUE(c->txtReply->toPlainText().startsWith(QStringLiteral("ERR,unknown command")));
    EXPECT_LT(c->txtReply->toPlainText().size(), 100);
    send(c, QString::fromUtf8("r\xC2\xB5VER \xE2\x86\x92"));
    EXPECT_TRUE(c->txtReply->toPlainText().startsWith(QStringLiteral("ERR,unknown command")));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    // Beyond it the call is refused: the message of a failed call, the reply
    // as it was.
    const QString before = c->txtReply->toPlainText();
    send(c, QString(30000, QLatin1Char('r')));
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Device_SendCommand Error"});
    EXPECT_EQ(c->txtReply->toPlainText(), before);
}

namespace {
// A service whose controller answers at length (the simulated stand bounds
// its own replies; another service need not).
class LongWindedMicroscope : public SimulatedMicroscope {
public:
    using SimulatedMicroscope::SimulatedMicroscope;
    void SendCommand(const QString& command, QString& reply) override {
        SimulatedMicroscope::SendCommand(command, reply);
        reply = reply + QString(16 * 1024 * 1024, QLatin1Char('x'));
    }
};
} // namespace

TEST(Console, AReplyOfAnyLengthIsShownCutWithoutFreezingThePanel) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    LongWindedMicroscope longWinded(&rig.service);
    longWinded.Connect(1);
    MicroscopeService* usual = mainState().micService;
    mainState().micService = &longWinded;
    send(c, QStringLiteral("rVER1"));
    mainState().micService = usual;
    const QString shown = c->txtReply->toPlainText();
    EXPECT_TRUE(shown.startsWith(QStringLiteral("rVER,")));
    EXPECT_LT(shown.size(), 70000);
    EXPECT_TRUE(shown.contains(QStringLiteral("characters; the first 65536 are shown"))) << shown.right(120).toStdString();
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    longWinded.Disconnect();
}

TEST(Console, UpAndDownOnlyEditAndNothingOfTheConsoleOutlivesIt) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    send(c, QStringLiteral("rVER1"));
    send(c, QStringLiteral("rNOB"));
    const QString reply = c->txtReply->toPlainText();
    c->txtSend->setText(QStringLiteral("half"));
    QTest::keyClick(c->txtSend, Qt::Key_Up);
    EXPECT_EQ(c->txtSend->text(), "half");
    QTest::keyClick(c->txtSend, Qt::Key_Down);
    EXPECT_EQ(c->txtSend->text(), "half");
    EXPECT_EQ(c->txtReply->toPlainText(), reply);   // nothing was sent
    c->btnClose->setFocus();
    QTest::keyClick(c->btnClose, Qt::Key_Space);
    pumpEvents(50);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_EQ(FormRegistry::loaded(QStringLiteral("frmCommand")), nullptr);
    auto* again = console(rig);
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->txtSend->text().isEmpty());
    EXPECT_TRUE(again->txtReply->toPlainText().isEmpty());
    again->txtSend->setFocus();
    QTest::keyClick(again->txtSend, Qt::Key_Up);
    EXPECT_TRUE(again->txtSend->text().isEmpty());
}

TEST(Console, ALineOfTenThousandTypedCharactersIsSentWholeWithoutHarm) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    c->txtSend->setFocus();
    const QString line(10000, QLatin1Char('x'));
    QTest::keyClicks(c->txtSend, line);
    EXPECT_EQ(c->txtSend->text(), line);
    QTest::keyClick(c->txtSend, Qt::Key_Return);
    // The controller answers it, or the call fails with the console's one
    // message and the reply stays as it was.
    if (rig.boxes.texts().isEmpty())
        EXPECT_TRUE(c->txtReply->toPlainText().startsWith(QStringLiteral("ERR,")))
            << c->txtReply->toPlainText().left(80).toStdString();
    else
        EXPECT_EQ(rig.boxes.texts(), QStringList{"Device_SendCommand Error"});
    // The console goes on working.
    send(c, QStringLiteral("rVER1"));
    EXPECT_TRUE(c->txtReply->toPlainText().startsWith(QStringLiteral("rVER,")));
}

TEST(Console, UsesAFixedPitchFontAndEveryControlHasAName) {
    ToolRig rig;
    auto* c = console(rig);
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(QFontInfo(c->txtSend->font()).fixedPitch());
    EXPECT_TRUE(QFontInfo(c->txtReply->font()).fixedPitch());
    for (QWidget* w : {static_cast<QWidget*>(c->txtSend), static_cast<QWidget*>(c->txtReply),
                       static_cast<QWidget*>(c->btnSend), static_cast<QWidget*>(c->btnClose)})
        EXPECT_FALSE(w->accessibleName().isEmpty());
}
