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

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <QVariantList>

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

private slots:
    void onEvent(const QString& message);

private:
    // A call to the manager object under the well-known name.
    QDBusMessage callManager(const QString& member, const QVariantList& args);
    // A call to the connected microscope; throws when not connected.
    QVariant callDevice(const char* member, const QVariantList& args = {});
    // Sends, waits with the user's input held back, throws on an error reply.
    QDBusMessage exchange(QDBusMessage message);
    // Asks the service's interface version once; throws when it cannot serve us.
    void ensureCompatible();
    void unsubscribe();

    QDBusConnection m_bus;
    QString m_serviceName;
    QString m_peer;     // unique name of the process bound by Connect
    QString m_path;     // object path of the connected microscope
    QString m_version;  // the service's interface version, once asked
    int m_timeoutMs = kCallTimeoutMs;
    bool m_subscribed = false;
};
