// The profile editor against the in-process stand: opening, showing a record,
// the operator's changes, Current Status, sending, the file actions, and each
// of their failures. Messages are recorded, dialogs answered by the test.
#include "EditorTestSupport.h"
#include "core/base/tests/PlainUserFiles.h"
#include "stand/StandMemory.h"

#include "widgets/usrButton.h"
#include "models/profiles/ProfileFile.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTreeWidget>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray kDefaultRecord = ",User,0,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n";

// A whole file whose records are all the defaults, tab numbers 1..n, OBSERVATION 0.
QByteArray defaultFile(int records, bool custom = true) {
    QByteArray text;
    for (int t = 1; t <= records; ++t) text += QByteArray::number(t) + kDefaultRecord;
    text += "Custom Value\r\n";
    if (custom)
        for (const char* kind : {"AS ", "FS ", "ND "})
            for (int t = 1; t <= records; ++t) text += kind + QByteArray::number(t) + ",0,0,0,0,0,0,0\r\n";
    return text;
}

QString saved(const QString& name) { return testHome() + QStringLiteral("/") + name; }

} // namespace

// --- opening -----------------------------------------------------------------

TEST_F(EditorTest, OpeningReadsTheSixMethodsTheStandHolds) {
    openStand();
    mic->setObservationName(8, QStringLiteral("  GFP  "));
    mic->setObservationPosition(8, ObservationPositions{3, 1, 3, 7, 2, 2, 4, 3, 4, 3, 8});
    mic->CustomObservation(DeviceIndex::ApertureStop, 8, 2, 5.5);
    frmProfile* f = openEditor();
    EXPECT_TRUE(recorder->texts().isEmpty()) << recorder->texts().join('|').toStdString();
    ASSERT_EQ(f->items().size(), 6);
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("User1"));
    EXPECT_EQ(f->items()[1].Name(), QStringLiteral("GFP"));
    EXPECT_EQ(f->tabProfile->tabText(1), QStringLiteral("GFP"));
    EXPECT_EQ(f->ObserveSel->count(), 7);
    EXPECT_EQ(f->ObserveSel->itemText(0), QStringLiteral("Current"));
    EXPECT_EQ(f->ObserveSel->itemText(2), QStringLiteral("GFP"));

    f->tabProfile->setCurrentIndex(1);
    EXPECT_EQ(f->txtSel->text(), QStringLiteral("GFP"));
    EXPECT_EQ(f->items()[1].OBSERVATION(), 8);
    EXPECT_EQ(f->txtObj->currentIndex(), 4);
    EXPECT_EQ(f->txtFilter->currentIndex(), 2);
    EXPECT_EQ(f->txtCon->currentText(), QStringLiteral("3 : DIC"));
    EXPECT_EQ(f->txtPath->currentText(), QStringLiteral("Rear P"));
    EXPECT_EQ(f->txtZoom->currentText(), QStringLiteral("1.5"));
    EXPECT_EQ(f->txtAna->currentText(), QStringLiteral("IN"));
    EXPECT_EQ(f->txtLamp->currentText(), QStringLiteral("ON"));
    EXPECT_EQ(f->txtShutter->currentText(), QStringLiteral("Close"));
    EXPECT_EQ(f->txtAP->currentText(), QStringLiteral("Objective"));
    EXPECT_EQ(f->txtFS->currentText(), QStringLiteral("All Open"));
    EXPECT_EQ(f->txtND->currentText(), QStringLiteral("UserMemory"));
    // The user memory of the stand, per objective address.
    EXPECT_EQ(f->items()[1].Get_UmemAS(2), 5.5);
    pick(f->txtAP, 2);
    EXPECT_EQ(f->items()[1].AStop(), 1);
    ASSERT_EQ(f->lstAS->topLevelItemCount(), 6);
    EXPECT_EQ(f->lstAS->topLevelItem(1)->text(0), QStringLiteral("2"));
    EXPECT_EQ(f->lstAS->topLevelItem(1)->text(1), QStringLiteral("5.5"));
    EXPECT_EQ(f->ValueAP->text(), QStringLiteral("0"));
    pick(f->txtAP, 3);
    EXPECT_EQ(f->items()[1].AStop(), 3);
    EXPECT_EQ(f->lstAS->topLevelItemCount(), 0);
}

TEST_F(EditorTest, TheListsAreBuiltFromTheStandsTables) {
    openStand();
    frmProfile* f = openEditor();
    EXPECT_EQ(f->txtObj->count(), 7);
    EXPECT_EQ(f->txtObj->itemText(0), QStringLiteral("Not Move"));
    EXPECT_TRUE(f->txtObj->itemText(1).startsWith(QStringLiteral("1 : "))) << f->txtObj->itemText(1).toStdString();
    EXPECT_TRUE(f->txtObj->itemText(1).endsWith(QStringLiteral("x")));
    EXPECT_EQ(f->txtCon->count(), 11);
    EXPECT_EQ(f->txtCon->itemText(5), QStringLiteral("1 : BF"));
    ASSERT_EQ(f->txtZoom->count(), 14);
    EXPECT_EQ(f->txtZoom->itemText(1), QStringLiteral("0.8"));
    EXPECT_EQ(f->txtZoom->itemText(3), QStringLiteral("1"));
    EXPECT_EQ(f->txtZoom->itemText(13), QStringLiteral("2"));
    EXPECT_EQ(f->txtND->count(), 3);
    EXPECT_EQ(f->txtAP->itemData(2).toInt(), 1);
    EXPECT_EQ(f->txtPath->itemText(2), QStringLiteral("Front P"));
}

TEST_F(EditorTest, ADeviceThatIsNotFittedIsGreyedAndKeepsNoSelection) {
    openStand();
    mainState().mZoom.setSETUP(0);
    frmProfile* f = openEditor();
    EXPECT_FALSE(f->txtZoom->isEnabled());
    EXPECT_EQ(f->txtZoom->currentIndex(), -1);
    EXPECT_FALSE(f->ZoomChk->isEnabled());
    EXPECT_TRUE(f->txtObj->isEnabled());
}

TEST_F(EditorTest, AFailedReadAtOpeningIsSaidAndWhatWasReadStays) {
    openStand();
    mic->setObservationName(7, QStringLiteral("first"));
    mic->setObservationName(8, QStringLiteral("second"));
    // A nosepiece of eight addresses: the user memory holds only 0 to 7, so
    // the read fails at the first method's address 8.
    mainState().mObj.setMAX(8);
    frmProfile* f = openEditor();
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Observation_Position Read Error")});
    ASSERT_EQ(f->items().size(), 6);
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("first"));
    EXPECT_EQ(f->items()[1].Name(), QStringLiteral("User"));
}

// --- edge cases of the editor ------------------------------------------------

TEST_F(EditorTest, FiveRecordLinesGiveFiveItemsAndTheSixthTabsLookUpFails) {
    const QString path = saved("five.txt");
    writeFile(path, defaultFile(5));
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    recorder->clear();
    click(f->btnRead);
    EXPECT_EQ(f->items().size(), 5);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Profile_Data Error")});
    EXPECT_TRUE(f->isEnabled());
}

TEST_F(EditorTest, ABlankFirstLineLeavesAnEmptyCollection) {
    const QString path = saved("blank.txt");
    writeFile(path, "\r\n" + defaultFile(6));
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    recorder->clear();
    click(f->btnRead);
    EXPECT_TRUE(f->items().isEmpty());
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Profile_Data Error")});
    // The editor stays usable: a change has no record to go to and says so.
    recorder->clear();
    pick(f->txtLamp, 1);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Profile_Data Error")});
    // Saving an empty collection creates the file and fails at its first
    // record: the file stays empty.
    recorder->clear();
    const QString out = saved("empty-out.txt");
    writeFile(out, "an older file\r\n");
    Dialogs::Answerer save([&](Dialogs::Kind) { return out; });
    click(f->btnSave);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("File Save Error")});
    EXPECT_TRUE(QFile::exists(out));
    EXPECT_EQ(readFile(out), QByteArray());
}

TEST_F(EditorTest, AProfileFileOfOneRecordReadsOneItemAndSavesOnlyItsLine) {
    const QString path = saved("one.txt");
    writeFile(path, defaultFile(1));
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    recorder->clear();
    click(f->btnRead);
    EXPECT_EQ(f->items().size(), 1);
    EXPECT_EQ(f->tabProfile->tabText(0), QStringLiteral("User"));
    // As with five records, the look-up of the next tab fails.
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Profile_Data Error")});
    const QString out = saved("one-out.txt");
    writeFile(out, defaultFile(6));
    Dialogs::Answerer save([&](Dialogs::Kind) { return out; });
    recorder->clear();
    click(f->btnSave);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("File Save Error")});
    // The file holds the one record line and nothing after it.
    const QByteArray written = readFile(out);
    EXPECT_TRUE(written.startsWith("1,User,")) << written.constData();
    EXPECT_EQ(written.count("\r\n"), 1);
    EXPECT_TRUE(written.endsWith("\r\n"));
    EXPECT_TRUE(f->isEnabled());
}

TEST_F(EditorTest, ANameOfSixteenCharactersIsRefusedAndTheOldTextReturns) {
    frmProfile* f = openEditor();
    typeName(f, QStringLiteral("Fifteen chars!!"));
    EXPECT_EQ(f->txtSel->text(), QStringLiteral("Fifteen chars!!"));
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("Fifteen chars!!"));
    QTest::keyClicks(f->txtSel, QStringLiteral("X"));
    EXPECT_EQ(f->txtSel->text(), QStringLiteral("Fifteen chars!!"));
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("Fifteen chars!!"));
    // The tab caption follows at the next showing.
    EXPECT_EQ(f->tabProfile->tabText(0), QStringLiteral("User"));
    f->tabProfile->setCurrentIndex(2);
    EXPECT_EQ(f->tabProfile->tabText(0), QStringLiteral("Fifteen chars!!"));
}

TEST_F(EditorTest, AnEmptyNameIsTakenAndTheServiceNamesItUserAndItsNumber) {
    openStand();
    frmProfile* f = openEditor();
    QSignalSpy names(f, &frmProfile::userNameRead);
    f->txtSel->selectAll();
    QTest::keyClick(f->txtSel, Qt::Key_Delete);
    EXPECT_EQ(f->items()[0].Name(), QString());
    click(f->btnSend);
    EXPECT_TRUE(recorder->texts().isEmpty());
    ASSERT_EQ(names.size(), 1);
    EXPECT_EQ(names[0][1].toString(), QStringLiteral("User1"));
}

TEST_F(EditorTest, ConditionCodeSevenOnSixCondenserAddressesSelectsRowSeven) {
    openStand();
    mic->setObservationPosition(7, ObservationPositions{0, 0, 0, 7, 0, 0, 0, 0, 1, 0, 0});
    frmProfile* f = openEditor();
    EXPECT_EQ(f->txtCon->currentIndex(), 7);
    EXPECT_EQ(f->txtCon->currentText(), QStringLiteral("3 : DIC"));
}

TEST_F(EditorTest, AStoredZoomOfFourteenShowsNotMoveWithoutChangingTheRecord) {
    const QString path = saved("zoom14.txt");
    writeFile(path, defaultFile(6).replace("1,User,0,1,1,1,0,0,0,0,", "1,User,0,1,1,1,0,0,0,14,"));
    openStand();
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    click(f->btnRead);
    EXPECT_TRUE(recorder->texts().isEmpty()) << recorder->texts().join('|').toStdString();
    EXPECT_EQ(f->txtZoom->currentIndex(), 0);
    EXPECT_EQ(f->txtZoom->currentText(), QStringLiteral("Not Move"));
    EXPECT_EQ(f->items()[0].ZOOM(), 14);
}

TEST_F(EditorTest, AnNDCodeOfThreeMatchesNoRowAndTheComboKeepsItsEarlierSelection) {
    const QString path = saved("nd3.txt");
    // Tab 2 holds ND 3 ("All Open", which the ND list does not have).
    writeFile(path, defaultFile(6).replace("2,User,0,1,1,1,0,0,0,", "2,User,0,1,1,1,3,0,3,"));
    openStand();
    mic->setObservationPosition(7, ObservationPositions{0, 2, 0, 0, 0, 0, 0, 0, 1, 0, 0});
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    click(f->btnRead);
    EXPECT_EQ(f->txtND->currentText(), QStringLiteral("Not Move"));
    pick(f->txtND, 1);     // "Objective" on tab 1
    f->tabProfile->setCurrentIndex(1);
    EXPECT_EQ(f->txtAP->currentText(), QStringLiteral("All Open"));
    EXPECT_EQ(f->txtND->currentText(), QStringLiteral("Objective"));
    EXPECT_EQ(f->items()[1].ND(), 3);
}

TEST_F(EditorTest, DisconnectedCurrentStatusAndSendDoNothingAndTheFileActionsStillWork) {
    frmProfile* f = openEditor();
    const QByteArray before = Profile_FileText(f->items());
    click(f->btnReceive);
    f->chkSend->setChecked(true);
    click(f->btnSend);
    EXPECT_EQ(Profile_FileText(f->items()), before);
    EXPECT_TRUE(recorder->texts().isEmpty());
    const QString path = saved("offline.txt");
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    click(f->btnSave);
    EXPECT_EQ(readFile(path), before);
    typeName(f, QStringLiteral("changed"));
    click(f->btnRead);
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("User"));
    EXPECT_EQ(answer.asked(), (QList<Dialogs::Kind>{Dialogs::Save, Dialogs::Open}));
}

// --- Current Status and Send ----------------------------------------------------

TEST_F(EditorTest, CurrentStatusFillsTheSelectedTabFromThePresentState) {
    openStand();
    MainState& st = mainState();
    mic->setNosepiecePosition(4);
    st.mObj.setAddress(4);
    mic->setFilterBlockCassettePosition(3);
    st.mFilter.setAddress(3);
    st.mCon.setAddress(2);
    st.mPath.setPATH(3);
    st.mZoom.setZOOM(1.2);
    st.mLamp.setONOFF(1);
    st.mObj.setLINK(1);
    mic->EpiShutterOpen();
    mic->AnalyzerOut();
    frmProfile* f = openEditor();
    f->tabProfile->setCurrentIndex(4);
    pick(f->txtAP, 3);
    click(f->btnReceive);
    EXPECT_TRUE(recorder->texts().isEmpty()) << recorder->texts().join('|').toStdString();
    const clsDefProfile& r = f->items()[4];
    EXPECT_EQ(r.Obj_ADDRESS(), 4);
    EXPECT_EQ(r.Filter_ADDRESS(), 3);
    EXPECT_EQ(r.Cond_ADDRESS(), 6);
    EXPECT_EQ(r.PATH(), 3);
    EXPECT_EQ(r.ZOOM(), 5);
    EXPECT_EQ(r.SHUTTER(), 3);
    EXPECT_EQ(r.ANALYZER(), 4);
    EXPECT_EQ(r.LAMP(), 3);
    EXPECT_EQ(r.Obj_Link(), 1);
    EXPECT_EQ(r.AStop(), 3);          // the stops are left as they were
    EXPECT_EQ(f->txtObj->currentIndex(), 4);
    EXPECT_EQ(f->txtZoom->currentText(), QStringLiteral("1.2"));
    EXPECT_TRUE(f->ObjChk->isChecked());
    EXPECT_TRUE(f->isEnabled());
    // The other tabs are untouched.
    EXPECT_EQ(f->items()[0].Obj_ADDRESS(), 0);
}

TEST_F(EditorTest, SendGivesTheSelectedMethodToTheStandAndNamesTheMainPanelsEntry) {
    openStand();
    frmProfile* f = openEditor();
    QSignalSpy names(f, &frmProfile::userNameRead);
    f->tabProfile->setCurrentIndex(2);
    typeName(f, QStringLiteral("Phase 20x"));
    pick(f->txtObj, 3);
    pick(f->txtCon, 9);
    pick(f->txtPath, 2);
    pick(f->txtZoom, 6);
    pick(f->txtLamp, 1);
    pick(f->txtFS, 3);
    click(f->btnSend);
    EXPECT_TRUE(recorder->texts().isEmpty()) << recorder->texts().join('|').toStdString();
    EXPECT_EQ(mic->ObservationName(9), QStringLiteral("Phase 20x"));
    EXPECT_EQ(mic->ObservationPosition(9), (ObservationPositions{3, 0, 3, 9, 0, 0, 0, 0, 3, 2, 6}));
    ASSERT_EQ(names.size(), 1);
    EXPECT_EQ(names[0][0].toInt(), 3);
    EXPECT_EQ(names[0][1].toString(), QStringLiteral("Phase 20x"));
    // Only the selected tab went.
    EXPECT_EQ(mic->ObservationName(7), QString());
}

TEST_F(EditorTest, SendAllGivesEverySixAndARefusedOneKeepsOnlyItsNewName) {
    const QString path = saved("objective9.txt");
    // Tab 4 asks for nosepiece address 9, which this stand does not have.
    writeFile(path, defaultFile(6).replace("4,User,0,1,", "4,Bad,0,9,"));
    openStand();
    mic->setObservationName(10, QStringLiteral("kept"));
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    click(f->btnRead);
    recorder->clear();
    QSignalSpy names(f, &frmProfile::userNameRead);
    f->chkSend->setChecked(true);
    click(f->btnSend);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Observation_Position Send Error")});
    EXPECT_EQ(names.size(), 5);
    // The refused method has its new name on the stand, which went first,
    // and its old codes; the others went whole.
    EXPECT_EQ(mic->ObservationName(10), QStringLiteral("Bad"));
    EXPECT_EQ(mic->ObservationPosition(10), ObservationPositions{});
    EXPECT_EQ(mic->ObservationName(12), QStringLiteral("User"));
    EXPECT_EQ(mic->ObservationPosition(12).objective, 1);
    EXPECT_TRUE(f->isEnabled());
}

TEST_F(EditorTest, ADeadServiceWhileSendingIsSaidAndTheEditorStaysUsable) {
    openStand();
    frmProfile* f = openEditor();
    control().killUnit(UnitIndex::Q7s);
    mic->Disconnect();      // the service is gone under the editor
    click(f->btnSend);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Observation_Position Send Error")});
    EXPECT_TRUE(f->isEnabled());
    mainState().MicConnected = false;
}

// --- files -------------------------------------------------------------------------

TEST_F(EditorTest, SaveWritesTheFileByteForByteThroughTheSaveDialog) {
    openStand();
    mic->setObservationName(7, QStringLiteral("GFP"));
    mic->setObservationPosition(7, ObservationPositions{4, 1, 3, 2, 2, 2, 3, 4, 3, 1, 13});
    mic->CustomObservation(DeviceIndex::FieldStop, 7, 3, 12.25);
    frmProfile* f = openEditor();
    const QString path = saved("methods.txt");
    Dialogs::Answerer answer([&](Dialogs::Kind k) { return k == Dialogs::Save ? path : QString(); });
    click(f->btnSave);
    EXPECT_EQ(answer.asked(), QList<Dialogs::Kind>{Dialogs::Save});
    const QByteArray text = readFile(path);
    EXPECT_TRUE(text.startsWith("1,GFP,7,3,2,2,2,3,1,13,4,4,3,1,1,1,1,0,0,0\r\n2,User2,0,0,0,0,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("\r\nCustom Value\r\nAS 1,0,0,0,0,0,0,0\r\n"));
    EXPECT_TRUE(text.contains("\r\nFS 1,0,0,12.25,0,0,0,0\r\n"));
    EXPECT_TRUE(text.endsWith("ND 6,0,0,0,0,0,0,0\r\n"));
    EXPECT_EQ(text.count("\r\n"), 25);
    EXPECT_EQ(text, Profile_FileText(f->items()));
}

TEST_F(EditorTest, ACancelledDialogReadsAndWritesNothing) {
    frmProfile* f = openEditor();
    const QString path = saved("untouched.txt");
    writeFile(path, "operator's own file");
    Dialogs::Answerer answer([](Dialogs::Kind) { return QString(); });
    typeName(f, QStringLiteral("mine"));
    click(f->btnSave);
    click(f->btnRead);
    EXPECT_EQ(readFile(path), QByteArray("operator's own file"));
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("mine"));
    EXPECT_TRUE(recorder->texts().isEmpty());
}

TEST_F(EditorTest, AFileThatCannotBeWrittenIsSaidAndTheOldOneStays) {
    frmProfile* f = openEditor();
    const QString blocker = saved("not-a-folder");
    writeFile(blocker, "x");
    Dialogs::Answerer answer([&](Dialogs::Kind) { return blocker + QStringLiteral("/methods.txt"); });
    click(f->btnSave);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("File Save Error")});
    EXPECT_EQ(readFile(blocker), QByteArray("x"));
    EXPECT_TRUE(f->isEnabled());
}

TEST_F(EditorTest, ShortGarbledForeignOrNonProfileFilesAreSaidLeaveDefaultsAndStayAsTheyWere) {
    openStand();
    mic->setObservationName(7, QStringLiteral("from stand"));
    const QByteArray bad[] = {
        QByteArray("1,GFP,7,3,2,"),                                           // short
        QByteArray("1,GFP,7,3,x,2,2,2,3,1,13,4,4,3,1,1,1,1,0,0,0\r\n"),       // garbled
        defaultFile(6).replace("6,User", "9,User"),                           // another version
        QByteArray("[Settings]\r\nTop=100\r\n"),                              // not a profile
        QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 17),                      // not text at all
    };
    for (const QByteArray& bytes : bad) {
        const QString path = saved("bad.txt");
        writeFile(path, bytes);
        frmProfile* f = openEditor();
        Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
        recorder->clear();
        click(f->btnRead);
        EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("File Read Error")}) << bytes.toStdString();
        ASSERT_EQ(f->items().size(), 6);
        EXPECT_EQ(Profile_FileText(f->items()).left(40), QByteArray("1,User,7,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0"));
        EXPECT_EQ(readFile(path), bytes);
        EXPECT_EQ(mic->ObservationName(7), QStringLiteral("from stand"));
        EXPECT_TRUE(f->isEnabled());
        closeEditor();
    }
}

TEST_F(EditorTest, AllSixMethodsMakeTheRoundTripThroughAFileAndThroughTheStand) {
    openStand();
    frmProfile* f = openEditor();
    for (int t = 1; t <= 6; ++t) {
        f->tabProfile->setCurrentIndex(t - 1);
        typeName(f, QStringLiteral("Method %1").arg(t));
        pick(f->txtObj, t);
        pick(f->txtFilter, 7 - t);
        pick(f->txtCon, t + 4);
        pick(f->txtPath, t % 4);
        pick(f->txtZoom, t * 2);
        pick(f->txtAP, t % 4);
        pick(f->txtFS, (t + 1) % 4);
        pick(f->txtND, t % 3);
        pick(f->txtLamp, t % 3);
        pick(f->txtAna, (t + 1) % 3);
        pick(f->txtShutter, (t + 2) % 3);
    }
    const QString path = saved("six.txt");
    {
        Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
        click(f->btnSave);
    }
    const QByteArray written = readFile(path);
    ASSERT_FALSE(written.isEmpty());
    closeEditor();

    // A new editor reads the file and sends all six.
    f = openEditor();
    {
        Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
        click(f->btnRead);
    }
    f->chkSend->setChecked(true);
    click(f->btnSend);
    EXPECT_TRUE(recorder->texts().isEmpty()) << recorder->texts().join('|').toStdString();
    closeEditor();

    // A third editor reads them back from the stand: the same six methods.
    f = openEditor();
    ProfileList fromStand = f->items();
    const ProfileFileReading fromFile = Profile_FileParse(written);
    for (int t = 0; t < 6; ++t) {
        int32_t a[11], b[11];
        fromFile.items[t].Read_ObservationPosition(0, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10]);
        fromStand[t].Read_ObservationPosition(0, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10]);
        EXPECT_EQ(std::vector<int32_t>(a, a + 11), std::vector<int32_t>(b, b + 11)) << "method " << t + 1;
        EXPECT_EQ(fromStand[t].Name(), QStringLiteral("Method %1").arg(t + 1));
    }
}

TEST_F(EditorTest, CloseAndCancelUnloadTheFormWithoutSaving) {
    frmProfile* f = openEditor();
    typeName(f, QStringLiteral("gone"));
    click(f->btnCancel);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(frmProfile::loaded(), nullptr);
    f = openEditor();
    EXPECT_EQ(f->items()[0].Name(), QStringLiteral("User"));
    click(f->btnClose);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(frmProfile::loaded(), nullptr);
    // Escape does what Cancel does.
    f = openEditor();
    QTest::keyClick(f->txtObj, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(frmProfile::loaded(), nullptr);
    EXPECT_TRUE(recorder->texts().isEmpty());
}

TEST_F(EditorTest, EveryControlHasAnAccessibleNameAndAPlaceInTheTabOrder) {
    frmProfile* f = openEditor();
    QWidget* controls[] = {f->tabProfile, f->txtSel, f->ObserveSel, f->txtObj, f->ObjChk, f->txtFilter, f->txtCon,
                           f->txtPath, f->PathChk, f->txtZoom, f->ZoomChk, f->txtAna, f->txtLamp, f->txtShutter,
                           f->txtAP, f->txtFS, f->txtND, f->lstAS, f->lstFS, f->lstND, f->chkSend, f->btnSend,
                           f->btnReceive, f->btnRead, f->btnSave, f->btnCancel, f->btnClose};
    for (QWidget* w : controls) {
        EXPECT_FALSE(w->accessibleName().isEmpty()) << w->metaObject()->className();
        EXPECT_NE(w->focusPolicy() & Qt::TabFocus, 0) << w->accessibleName().toStdString();
    }
    // Tab moves from the name box down the devices to the actions.
    QWidget* w = f->txtSel;
    QStringList seen;
    for (int i = 0; i < 30 && w; ++i) {
        seen << w->accessibleName();
        w = w->nextInFocusChain();
        while (w && !(w->focusPolicy() & Qt::TabFocus)) w = w->nextInFocusChain();
        if (w == f->txtSel) break;
    }
    EXPECT_LT(seen.indexOf("Objective"), seen.indexOf("Filter cube"));
    EXPECT_LT(seen.indexOf("Shutter"), seen.indexOf("Aperture stop"));
    EXPECT_LT(seen.indexOf("ND filter"), seen.indexOf("Take the current status"));
    EXPECT_LT(seen.indexOf("Save to a file"), seen.indexOf("Close"));
}

TEST_F(EditorTest, ANameTooLongForTheStandFromAFileIsRefusedWholeWhenSent) {
    const QString path = saved("long-name.txt");
    const QByteArray longName(70, 'N');
    writeFile(path, defaultFile(6).replace("1,User,", "1," + longName + ","));
    openStand();
    mic->setObservationName(7, QStringLiteral("before"));
    mic->setObservationPosition(7, ObservationPositions{0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0});
    frmProfile* f = openEditor();
    Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
    click(f->btnRead);
    // The file's name is the record's, whatever its length; the box shows it.
    EXPECT_EQ(f->items()[0].Name(), QString::fromLatin1(longName));
    EXPECT_EQ(f->txtSel->text(), QString::fromLatin1(longName));
    recorder->clear();
    click(f->btnSend);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Observation_Position Send Error")});
    EXPECT_EQ(mic->ObservationName(7), QStringLiteral("before"));
    EXPECT_EQ(mic->ObservationPosition(7).objective, 2);
    EXPECT_TRUE(f->isEnabled());
}

TEST_F(EditorTest, APipeOrADeviceChosenAsAProfileFileIsAFileReadErrorAndNeverWaitedOn) {
    openStand();
    const QString pipe = saved("pipe.txt");
    const QString zero = saved("zero.txt");
    QFile::remove(pipe);
    QFile::remove(zero);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    ASSERT_EQ(::symlink("/dev/zero", QFile::encodeName(zero).constData()), 0);
    for (const QString& path : {pipe, zero}) {
        frmProfile* f = openEditor();
        Dialogs::Answerer answer([&](Dialogs::Kind) { return path; });
        recorder->clear();
        click(f->btnRead);
        EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("File Read Error")}) << path.toStdString();
        ASSERT_EQ(f->items().size(), 6);
        EXPECT_EQ(Profile_FileText(f->items()).left(40), QByteArray("1,User,7,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0"));
        EXPECT_TRUE(f->isEnabled());
        closeEditor();
    }
    QFile::remove(pipe);
    QFile::remove(zero);
}

TEST_F(EditorTest, AMethodTheStandCannotKeepIsRefusedWithTheSendsMessageAndUndone) {
    ASSERT_TRUE(testsupport::obeyFilePermissions());
    openStand();
    mic->setObservationName(7, QStringLiteral("kept before"));
    // The stand's memory lies in a folder it may not write.
    const QString folder = saved("closed-state");
    QDir(folder).removeRecursively();
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
    StandMemory memory(folder + QStringLiteral("/zentor-service.json"), [](const QString&) {});
    mic->connectedStand()->keepUserMethodsWith(
        [&memory](const StandUserMethods& m) { return memory.keep(QStringLiteral("0 stand"), m); });

    frmProfile* f = openEditor();
    f->tabProfile->setCurrentIndex(0);
    typeName(f, QStringLiteral("not kept"));
    recorder->clear();
    click(f->btnSend);
    EXPECT_EQ(recorder->texts(), QStringList{QStringLiteral("Observation_Position Send Error")});
    EXPECT_EQ(mic->ObservationName(7), QStringLiteral("kept before"));
    EXPECT_TRUE(f->isEnabled());
    closeEditor();
    mic->connectedStand()->keepUserMethodsWith({});
    ::chmod(QFile::encodeName(folder).constData(), 0755);
}
