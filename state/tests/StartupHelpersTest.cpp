// The pieces of the application state that the main window builds on: where
// the service objects come from, the device table loaders, the custom value read, the
// form registry and the dropping of queued input.
#include "state/DeviceTables.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"
#include "state/UiHelpers.h"
#include "state/mdlReadStatus.h"
#include "models/optics/FilterColorFile.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"

#include <QDir>
#include <QFile>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <gtest/gtest.h>

namespace {

QString description(const char* file) {
    return QStringLiteral(ZENTOR_STAND_DESCRIPTIONS) + QLatin1Char('/') + QLatin1String(file);
}

// A fresh state connected to stand `index` of a simulated service.
struct Rig {
    SimulatedService service{StandClock::instant(),
                             {description("full-system.json"), description("readonly-nosepiece.json"),
                              description("hbxb-without-q7s.json")}};
    SimulatedMicroscope mic{&service};
    MainState s;
    explicit Rig(int16_t index = 1) {
        mic.Connect(index);
        s.micService = &mic;
    }
};

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

} // namespace

TEST(ServiceSource, WithoutAChoiceOfTheExecutableNoObjectIsMade) {
    ServiceSource::setMaker({});
    EXPECT_FALSE(ServiceSource::hasMaker());
    EXPECT_THROW(ServiceSource::create(), RunTimeError);
}

TEST(ServiceSource, HandedInServiceIsSharedByAllThreeObjectsAndEventsComeFromMicService) {
    SimulatedService service(StandClock::instant(), {description("full-system.json")});
    ServiceSource::setMaker([&service]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<SimulatedMicroscope>(&service);
    });
    ServiceObjects o = ServiceSource::createMainObjects();
    ASSERT_TRUE(o.micService && o.MicHold);
    EXPECT_EQ(o.eventSource, o.micService.get());
    EXPECT_EQ(o.micService->GetDeviceNames().size(), 2);
    o.MicHold->Connect(1);
    o.micService->Connect(1);
    QSignalSpy spy(o.eventSource, &MicroscopeService::OnPropertyChanged);
    o.MicHold->setNosepiecePosition(3); // a change made by another client
    EXPECT_TRUE(spy.count() > 0 || spy.wait(2000));
    EXPECT_TRUE(spy.first().at(0).toString().startsWith(QLatin1String("AppNosepiecePosition:")));
    o.micService->Disconnect();
    o.MicHold->Disconnect();
    ServiceSource::setMaker({});
}

TEST(ObjectiveDataInit, FillsTheTableAndTakesTheNumberOfPositionsAsMaximum) {
    Rig r;
    EXPECT_TRUE(ObjectiveData_Init(r.s));
    const int n = r.mic.ObjectiveNumbers().size();
    ASSERT_EQ(r.s.mObjData.size(), n);
    EXPECT_EQ(r.s.mObj.MAX(), n);
    EXPECT_EQ(r.s.mObjData[0].Name(), r.mic.ObjectiveNames().at(0));
    EXPECT_FLOAT_EQ(r.s.mObjData[0].Rate(), static_cast<float>(r.mic.ObjectiveRates().at(0)));
    EXPECT_EQ(r.s.mObjData[0].Series(), 0);
}

TEST(ObjectiveDataInit, ADeadStandShowsItsMessageAndKeepsWhatWasThere) {
    MsgBox::Recorder rec;
    Rig r;
    r.s.mObjData.append(clsDefLens());
    r.service.stand(1)->control().killUnit(UnitIndex::Q7s);
    EXPECT_TRUE(ObjectiveData_Init(r.s));
    ASSERT_EQ(rec.texts(), QStringList{QStringLiteral("ObjectiveData Error")});
    EXPECT_EQ(rec.shown().first().buttons, MsgBox::OKOnly);
    EXPECT_EQ(r.s.mObjData.size(), 1);
}

TEST(FilterCubeInit, WithoutAColourFileMakes249DefaultsAndReadsTheCubes) {
    Rig r;
    QFile::remove(FilterColor_Path());
    EXPECT_TRUE(FilterCube_Init(r.s));
    ASSERT_EQ(r.s.mFColor.size(), 249);
    EXPECT_EQ(r.s.mFColor[248].Number(), 249);
    EXPECT_EQ(r.s.mFColor[0].ExColor(), 0xFFFFFF);
    EXPECT_EQ(r.s.mFilterData.size(), r.mic.FilterNumbers().size());
    EXPECT_EQ(r.s.mFilter.STEP(), r.mic.IsMounted(DeviceIndex::FilterBlockCassette));
    EXPECT_EQ(r.s.mFilterData[0].EXName(), r.mic.FilterEXNames().at(0));
}

TEST(FilterCubeInit, AShortColourFileShowsTheMessageAndKeepsTheLinesRead) {
    MsgBox::Recorder rec;
    Rig r;
    writeFile(FilterColor_Path(), "1,255,65280,1,0\r\n2,16777215,16777215,0,0\r\n");
    FilterCube_Init(r.s);
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("FilterCube Init Error")});
    ASSERT_EQ(r.s.mFColor.size(), 2);
    EXPECT_EQ(r.s.mFColor[0].ExColor(), 255);
    EXPECT_TRUE(r.s.mFilterData.isEmpty()); // the cubes were never reached
    QFile::remove(FilterColor_Path());
}

TEST(FilterCubeInit, ABlankLineAtLineTenLeavesNineColours) {
    MsgBox::Recorder rec;
    Rig r;
    QByteArray bytes;
    for (int i = 1; i <= 9; ++i)
        bytes += QByteArray::number(i) + ",16777215,16777215,0,0\r\n";
    bytes += "\r\n";
    writeFile(FilterColor_Path(), bytes);
    FilterCube_Init(r.s);
    EXPECT_TRUE(rec.texts().isEmpty());
    EXPECT_EQ(r.s.mFColor.size(), 9);
    EXPECT_THROW(FilterColor_Item(r.s.mFColor, 10), RunTimeError);
    QFile::remove(FilterColor_Path());
}

TEST(CondenserDataInit, ReadsLimitsAndNames) {
    Rig r;
    EXPECT_TRUE(CondenserData_Init(r.s));
    EXPECT_EQ(r.s.mConData.size(), r.mic.CondenserNames().size());
    EXPECT_EQ(r.s.mConData[0].Name(), r.mic.CondenserNames().at(0));
    EXPECT_EQ(r.s.mCon.MAX(), static_cast<int16_t>(r.mic.UpperLimit(LimitIndex::CondenserCassette)));
}

TEST(StatusRead, ReadsTheCustomValuesOfEveryFittedStop) {
    Rig r;
    ObjectiveData_Init(r.s);
    r.s.mAS.setSETUP(1);
    r.s.mFS.setSETUP(0);
    r.s.mND.setSETUP(1);
    r.s.mFS.Memory_Put(7, 1, 12.5);
    Status_Read(r.s);
    EXPECT_DOUBLE_EQ(r.s.mAS.Memory_Get(7, 1),
                     r.mic.CustomValue(DeviceIndex::ApertureStop, 7, 1));
    EXPECT_DOUBLE_EQ(r.s.mND.Memory_Get(12, 2), r.mic.CustomValue(DeviceIndex::NDFilter, 12, 2));
    EXPECT_DOUBLE_EQ(r.s.mFS.Memory_Get(7, 1), 12.5); // not fitted: untouched
}

TEST(StatusRead, WithoutANosepieceTheMemoriesStayAsTheyAre) {
    const QString file = QDir::temp().filePath(QStringLiteral("zentor-bare-z.json"));
    writeFile(file, R"({"name": "Bare Z", "units": ["Z"], "camera": null, "devices": {"ZDrive": {}}})");
    SimulatedService service(StandClock::instant(), {file});
    SimulatedMicroscope mic(&service);
    mic.Connect(1);
    ASSERT_EQ(mic.IsMounted(DeviceIndex::Nosepiece), 0);
    MainState s;
    s.micService = &mic;
    s.mAS.setSETUP(1);
    s.mAS.Memory_Put(7, 1, 3.25);
    Status_Read(s);
    EXPECT_DOUBLE_EQ(s.mAS.Memory_Get(7, 1), 3.25);
    EXPECT_FALSE(ObjectiveData_Init(s));
    EXPECT_EQ(s.mObj.SETUP(), 0);
    QFile::remove(file);
}

TEST(StatusRead, AFailureShowsItsMessage) {
    MsgBox::Recorder rec;
    Rig r;
    ObjectiveData_Init(r.s);
    r.s.mAS.setSETUP(1);
    r.s.mObj.setMIN(-1); // an address the stand refuses, halfway through
    Status_Read(r.s);
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("AS FS ND CustomValue_Read Error")});
    rec.clear();
    r.mic.Disconnect(); // the service gone between two calls
    Status_Read(r.s);
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("AS FS ND CustomValue_Read Error")});
}

class RefreshProbe : public QWidget {
    Q_OBJECT
public:
    int calls = 0;
    int last = -1;
    Q_INVOKABLE void ObjChg_Set(int address) { ++calls; last = address; }
    Q_INVOKABLE void ZDriveValue_Set() { ++calls; }
};

TEST(FormRegistry, AClosedFormIsNeitherCreatedNorRefreshed) {
    int created = 0;
    FormRegistry::setCreator(QStringLiteral("frmSubObj"), [&] {
        ++created;
        return new RefreshProbe;
    });
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubObj")), nullptr);
    EXPECT_FALSE(FormRegistry::refresh(QStringLiteral("frmSubObj"), "ObjChg_Set", 3));
    EXPECT_EQ(created, 0);

    auto* probe = static_cast<RefreshProbe*>(FormRegistry::instance(QStringLiteral("frmSubObj")));
    ASSERT_NE(probe, nullptr);
    EXPECT_EQ(created, 1);
    EXPECT_FALSE(FormRegistry::refresh(QStringLiteral("frmSubObj"), "ObjChg_Set", 3)); // hidden
    probe->show();
    EXPECT_TRUE(FormRegistry::refresh(QStringLiteral("frmSubObj"), "ObjChg_Set", 4));
    EXPECT_EQ(probe->last, 4);
    EXPECT_TRUE(FormRegistry::call(QStringLiteral("frmSubObj"), "ZDriveValue_Set"));
    EXPECT_EQ(probe->calls, 2);
    FormRegistry::unload(QStringLiteral("frmSubObj"));
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubObj")), nullptr);
    FormRegistry::setCreator(QStringLiteral("frmSubObj"), {});
}

TEST(FormRegistry, ADestroyedFormLeavesTheRegistryAndOrderIsCreationOrder) {
    auto* a = new QWidget;
    auto* b = new QWidget;
    FormRegistry::add(QStringLiteral("A"), a);
    FormRegistry::add(QStringLiteral("B"), b);
    EXPECT_EQ(FormRegistry::loadedForms(), (QList<QWidget*>{a, b}));
    delete a;
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("A")), nullptr);
    EXPECT_EQ(FormRegistry::loadedForms(), QList<QWidget*>{b});
    EXPECT_EQ(FormRegistry::nameOf(b), QStringLiteral("B"));
    delete b;
}

TEST(CommonFlush, ClicksQueuedWhileBusyAreDropped) {
    QPushButton button(QStringLiteral("x"));
    button.show();
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++clicks; });
    const QPointF at(5, 5);
    QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonPress, at, button.mapToGlobal(at),
                                                         Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonRelease, at, button.mapToGlobal(at),
                                                         Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
    Common_Flush();
    QCoreApplication::processEvents();
    EXPECT_EQ(clicks, 0);
    // Without the flush the same click arrives.
    QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonPress, at, button.mapToGlobal(at),
                                                         Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonRelease, at, button.mapToGlobal(at),
                                                         Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_EQ(clicks, 1);
}

#include "StartupHelpersTest.moc"
