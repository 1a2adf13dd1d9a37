#pragma once
// The microscope service as the running application reaches it: a client of
// the service process on the session bus (see BusLayout.h for the layout).
//
// Every call blocks the caller for up to an hour (a motor's whole move) in
// the wait of core/base/BlockingWait.h, so the service's events, timers and
// painting are still delivered on the caller's thread while user input is
// held back (all but an escape, while a panel opens a way for it). Failures
// throw RunTimeError with the service's 32-bit code.
//
// Before its first call the client asks the service for its interface version
// and refuses one it cannot use (ZentorBus::IncompatibleService, with a sentence saying
// which versions); every answer must have the type the interface file gives,
// else the call fails with a sentence naming the member and both types.
//
// Connect() binds the client to the service process that answered it (its
// unique bus name). When that process dies, every later call fails and
// DeviceStatus throws, so the application's liveness check notices; the
// client never reconnects to a new process by itself.
#include "core/service/MicroscopeService.h"
#include "core/service/dbus/SnapshotPicture.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QHash>
#include <QSet>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVector>

class QEventLoop;

class DBusMicroscopeService : public MicroscopeService {
    Q_OBJECT
public:
    // One hour: a slow move must neither fail nor be abandoned.
    static constexpr int kCallTimeoutMs = 3600000;

    explicit DBusMicroscopeService(QObject* parent = nullptr);
    DBusMicroscopeService(const QDBusConnection& bus, const QString& serviceName,
                          QObject* parent = nullptr);
    ~DBusMicroscopeService() override;

    // Object path of the microscope after Connect, else empty.
    QString objectPath() const { return m_path; }
    // Unique bus name of the service process this client is bound to.
    QString boundService() const { return m_peer; }
    // An empty round trip to the connected microscope's object (bench).
    void Ping();
    // How long one call may wait for its answer (kCallTimeoutMs unless set):
    // the conformance program bounds a move that never ends.
    void setCallTimeout(int ms) { m_timeoutMs = ms; }
    // The version the service answered, after the first call; empty before.
    QString serviceVersion() const { return m_version; }
    // Calls that this process's clients have made to the microscope service
    // so far (benchmarks count the round trips of an operation with it).
    static uint64_t callsMade();
    // Round trips among them: a call sent while no other call of this
    // process's clients awaits its answer begins one; calls sent behind it
    // before that answer came cross the link with it.
    static uint64_t roundTrips();

    void Connect(int16_t index) override;
    void Disconnect() override;
    QStringList GetDeviceNames() override;
    int16_t IsDeviceAvailable(int16_t index) override;
    int32_t DeviceStatus(int16_t unit) override;
    int32_t IsMounted(int16_t device) override;
    int32_t IsReadOnly(int16_t device) override;
    int16_t PathSubType(int16_t device) override;
    double UpperLimit(int16_t limitIndex) override;
    double LowerLimit(int16_t limitIndex) override;
    double Step(int16_t limitIndex) override;
    QString Version(int16_t unit) override;
    QString EventLog(int16_t unit, int16_t entry) override;
    int16_t IsCameraPresent(int16_t index) override;
    int16_t CameraUnit() override;
    int16_t CameraHead() override;

    int16_t NosepiecePosition() override;
    void setNosepiecePosition(int16_t position) override;
    int16_t NosepieceIsInterlockEnabled() override;
    void setNosepieceIsInterlockEnabled(int16_t enabled) override;
    int16_t NosepieceXYMode() override;
    void setNosepieceXYMode(int16_t mode) override;
    int16_t NosepieceZMode() override;
    void setNosepieceZMode(int16_t mode) override;

    int16_t FilterBlockCassettePosition() override;
    void setFilterBlockCassettePosition(int16_t position) override;
    int16_t LightPathDriveLightPath() override;
    void setLightPathDriveLightPath(int16_t path) override;
    int16_t LightPathDriveIsInterlockEnabled() override;
    void setLightPathDriveIsInterlockEnabled(int16_t enabled) override;
    int16_t CondenserCassettePosition() override;
    void setCondenserCassettePosition(int16_t position) override;

    double ApertureStopApertureStop() override;
    void setApertureStopApertureStop(double mm) override;
    double FieldStopFieldStop() override;
    void setFieldStopFieldStop(double mm) override;
    double EpiFieldStopFieldStop() override;
    void setEpiFieldStopFieldStop(double mm) override;
    double NDFilterTransmission() override;
    void setNDFilterTransmission(double percent) override;
    void NDFilterStepDown() override;
    void NDFilterStepUp() override;

    void LampOn() override;
    void LampOff() override;
    int16_t LampIsOn() override;
    int16_t LampIsPreset() override;
    double LampControlVoltage() override;
    void setLampControlVoltage(double volts) override;
    void LampPreset() override;

    double OpticalZoomZoom() override;
    void setOpticalZoomZoom(double magnification) override;
    int16_t OpticalZoomIsInterlockEnabled() override;
    void setOpticalZoomIsInterlockEnabled(int16_t enabled) override;
    void AnalyzerIn() override;
    void AnalyzerOut() override;
    int16_t AnalyzerIsInserted() override;
    void EpiShutterOpen() override;
    void EpiShutterClose() override;
    int16_t EpiShutterIsOpened() override;

    int32_t ZDriveZPosition() override;
    void setZDriveZPosition(int32_t counts) override;
    int16_t ZDriveIsZEscape() override;
    void setZDriveIsZEscape(int16_t escape) override;
    void setZDriveSpeed(int16_t speed) override;
    int32_t ZDriveAutoFocus() override;
    int32_t ZUpperLimit() override;
    void setZUpperLimit(int32_t counts) override;

    int32_t XYDriveXPosition() override;
    void setXYDriveXPosition(int32_t counts) override;
    int32_t XYDriveYPosition() override;
    void setXYDriveYPosition(int32_t counts) override;
    int16_t XYDriveIsEscape() override;
    void setXYDriveIsEscape(int16_t escape) override;
    void XYDriveMove(int32_t x, int32_t y) override;
    int16_t XYDriveMode() override;
    void setXYDriveMode(int16_t mode) override;

    int16_t PresetsObservationMode() override;
    void setPresetsObservationMode(int16_t observation) override;
    QString ObservationName(int16_t observation) override;
    void setObservationName(int16_t observation, const QString& name) override;
    ObservationPositions ObservationPosition(int16_t observation) override;
    void setObservationPosition(int16_t observation, const ObservationPositions& positions) override;
    double CustomValue(int16_t device, int16_t observation, int16_t address) override;
    void CustomObservation(int16_t device, int16_t observation, int16_t address, double value) override;

    QVector<int32_t> ObjectiveNumbers() override;
    QStringList ObjectiveNames() override;
    QStringList ObjectiveSeriesNames() override;
    QStringList ObjectiveTypeNames() override;
    QVector<double> ObjectiveRates() override;
    QVector<double> ObjectiveWDs() override;
    QVector<double> ObjectiveNAs() override;
    QVector<int32_t> FilterNumbers() override;
    QStringList FilterNames() override;
    QVector<int32_t> FilterReikis() override;
    QVector<int32_t> FilterDMs() override;
    QVector<int32_t> FilterKyusyus() override;
    QStringList FilterEXNames() override;
    QStringList FilterDMNames() override;
    QStringList FilterBANames() override;
    QVector<int32_t> CondenserNumbers() override;
    QStringList CondenserNames() override;

    void SendCommand(const QString& command, QString& reply) override;

    // Reads that belong together are answered from the service's Snapshot:
    // one picture of the microscope (and one of the manager's list), taken at
    // the first read of the outermost pair, kept current by the events that
    // follow it in their order, and let go at its end. A picture taken before
    // the operator was asked something (a message box) is taken afresh. A
    // service without Snapshot is read one value at a time, and the trace
    // says so once. See SnapshotPicture.h for what is not believed.
    // A named group that comes back asks a service of interface 1.2 on for
    // the reads it made the time before alone (SnapshotOf): one small reply,
    // which on a quick link costs no more than those reads one by one. A
    // group of one read sends that read's own call, taken as its picture.
    void beginReads(const QString& group) override;
    void endReads() override;
    // Whether groups of reads use the service's Snapshot at all: yes unless
    // ZENTOR_READ_ONE_AT_A_TIME=1 is in the environment or a benchmark set
    // it (to compare both ways in one run); no reads one value at a time.
    static bool snapshotsUsed();
    static void setSnapshotsUsed(bool used);
    // Whether reads are now answered from a picture of the microscope (tests).
    bool readsFromPicture() const { return m_pictureUsable; }

private slots:
    void onEvent(const QString& message);
    void onPictureReply(const QDBusMessage& reply);
    void onPictureError(const QDBusError& error, const QDBusMessage& call);

private:
    // A read of the connected microscope: from the picture inside a group of
    // reads when it holds it, else a call.
    QVariant read(const char* member, const QVariantList& args = {});
    // A read of the manager, the same way.
    QVariant readManager(const char* member, const QVariantList& args = {});
    // A command: always a call. What it may change is taken out of the
    // picture, so that later reads of the group ask the service.
    QVariant command(const char* member, const QVariantList& args = {});
    void forgetChangedBy(const QString& member, const QVariantList& args);
    // The picture's entry for a read, taking the picture first when the group
    // has none yet (or its one is stale); nullptr: ask the service.
    const SnapshotPicture::Entry* pictured(const QString& member, const QVariantList& args, bool counted = true);
    const SnapshotPicture::Entry* picturedList(const QString& member, const QVariantList& args);
    // Whether a command of the group should send the Snapshot ahead of it:
    // a group is open and has asked for no picture yet.
    bool wantsPictureAlong() const;
    // Sends the Snapshot call; its answer is taken when it comes.
    void askPicture();
    // Waits until the newest Snapshot asked is answered.
    void waitForPicture();
    bool answersNewestPicture();
    void pictureTaken();
    void takeListPicture();
    // How a Snapshot reply was taken, into the trace.
    void traceTaken(const QString& whose, const SnapshotPicture::Taken& taken);
    void traceNoSnapshot(const QString& whose);
    void letPicturesGo();
    // Forgets the pictures and the event count of a former connection.
    void resetPictures();
    // A call to the manager object under the well-known name.
    QDBusMessage callManager(const QString& member, const QVariantList& args);
    // A call to the connected microscope; throws when not connected.
    QVariant callDevice(const char* member, const QVariantList& args = {});
    // Sends, waits with the user's input held back, throws on an error reply.
    QDBusMessage exchange(QDBusMessage message);
    static void callSent();
    static void callAnswered();
    // Asks the service's interface version once (unless another client of
    // this process was told it by the same process); throws when it cannot
    // serve us.
    void ensureCompatible();
    bool recallVersion();
    void acceptVersion(const QString& told, const QString& owner);
    void checkOwner(const QDBusMessage& reply);
    QString versionKey() const;
    QString serviceWho() const;
    // Whether the version the service answered has Snapshot (1.1 on), and
    // SnapshotOf (1.2 on).
    bool versionOffersSnapshot() const;
    bool versionOffersSnapshotOf() const;
    void unsubscribe();

    QDBusConnection m_bus;
    QString m_serviceName;
    QString m_peer;     // unique name of the process bound by Connect
    QString m_path;     // object path of the connected microscope
    QString m_version;  // the service's interface version, once asked
    QString m_versionOwner;   // the unique name of the process that told it
    int m_timeoutMs = kCallTimeoutMs;
    bool m_subscribed = false;

    // --- reads answered from pictures ------------------------------------------
    int m_readDepth = 0;                 // open beginReads() pairs
    SnapshotPicture m_picture;           // of the connected microscope
    bool m_pictureAsked = false;         // asked for in this group
    bool m_pictureUsable = false;
    bool m_waitingForPicture = false;    // a wait for its answer runs
    int m_picturesInFlight = 0;          // Snapshot calls not answered yet
    struct SentCommand {
        QString member;
        QVariantList args;
    };
    QVector<SentCommand> m_forgetWhenTaken;   // commands sent behind the Snapshot
    uint64_t m_pictureMarks = 0;         // operator waits when it was asked for
    SnapshotPicture m_listPicture;       // of the manager's list
    bool m_listAsked = false;
    bool m_listUsable = false;
    uint64_t m_listMarks = 0;
    // Sequence number of the last event applied, once a picture has told
    // where the count stands: the event after a reply of sequence S is S + 1.
    bool m_counting = false;
    uint64_t m_sequence = 0;
    bool m_noSnapshot = false;           // the bound service has no Snapshot
    bool m_noSnapshotOf = false;         // nor SnapshotOf, whatever it says
    // The named group open now, the reads it made, and what each named group
    // read the time before (at most kLearnedGroups groups of kLearnedReads).
    QString m_group;
    QSet<QString> m_groupReads;
    QHash<QString, QStringList> m_learned;
    bool m_pictureOfLearned = false;     // the picture asked is a SnapshotOf
    // ... or, for a group of one read, that read's own call.
    const ZentorBus::Method* m_oneRead = nullptr;
    QString m_oneReadKey;
    bool m_listNoSnapshot = false;       // the manager has none
    QStringList m_readSingly;            // reads of this group the picture did not hold
    // The picture's reply, handed over by onPictureReply in the order of the
    // events around it.
    QEventLoop* m_pictureWait = nullptr;
    bool m_pictureDone = false;
    static uint64_t s_callsMade;
    static uint64_t s_roundTrips;
    static int s_awaited;   // calls of this process's clients awaiting their answer
};
