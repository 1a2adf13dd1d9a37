#pragma once
// The in-process microscope service: each call goes to the connected
// SimulatedStand and waits for its answer in a nested event loop that excludes
// user input (events, timers and painting go on, so positions stream during a
// move). Failures throw RunTimeError with the service's code. The stand's
// changes are re-emitted as OnPropertyChanged while connected.
#include "core/service/MicroscopeService.h"
#include "stand/SimulatedService.h"

#include <QMetaObject>
#include <QPointer>
#include <memory>

class SimulatedMicroscope : public MicroscopeService {
    Q_OBJECT
public:
    // Uses a service that someone else owns (shared with other clients).
    explicit SimulatedMicroscope(SimulatedService* service, QObject* parent = nullptr);
    // Owns a service of its own made of these descriptions.
    SimulatedMicroscope(const StandClock& clock, const QStringList& descriptionFiles,
                        QObject* parent = nullptr);
    ~SimulatedMicroscope() override;

    SimulatedService* simulatedService() const { return m_service; }
    // The stand this client is connected to; nullptr when not connected.
    SimulatedStand* connectedStand() const { return m_stand; }

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

private:
    // Runs one member on the connected stand and waits for its answer.
    QVariant call(const char* member, const QVariantList& args = {});

    std::unique_ptr<SimulatedService> m_owned;
    SimulatedService* m_service = nullptr;
    QPointer<SimulatedStand> m_stand;
    QMetaObject::Connection m_events;
};
