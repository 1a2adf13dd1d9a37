#include "state/DeviceTables.h"

#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/VbConvert.h"

namespace {

// An element of a parallel array; a shorter array fails as an index past its
// end does.
template <typename List>
auto at(const List& list, int i) -> decltype(list.at(i)) {
    if (i < 0 || i >= list.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return list.at(i);
}

} // namespace

bool ObjectiveData_Init(MainState& s) {
    try {
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::Nosepiece) == 0) {
            s.mObj.setSETUP(0);
            return false;
        }
        s.mObj.setMIN(vb::toInt16(svc.LowerLimit(LimitIndex::Nosepiece)));
        s.mObj.setMAX(vb::toInt16(svc.UpperLimit(LimitIndex::Nosepiece)));
        s.mObj.setSTEP(vb::toInt16(svc.Step(LimitIndex::Nosepiece)));
        s.mObj.setLINK(vb::toInt16(svc.NosepieceIsInterlockEnabled()));

        const QVector<int32_t> numbers = svc.ObjectiveNumbers();
        const QStringList names = svc.ObjectiveNames();
        const QStringList series = svc.ObjectiveSeriesNames();
        const QStringList types = svc.ObjectiveTypeNames();
        const QVector<double> rates = svc.ObjectiveRates();
        const QVector<double> wds = svc.ObjectiveWDs();
        const QVector<double> nas = svc.ObjectiveNAs();

        int i = 0;
        for (; i < numbers.size(); ++i) {
            clsDefLens lens;
            lens.setNumber(vb::toInt16(at(numbers, i)));
            lens.setName(at(names, i));
            lens.setSeriesName(at(series, i));
            lens.setTypeName(at(types, i));
            lens.setRate(vb::toSingle(at(rates, i)));
            lens.setWD(vb::toSingle(at(wds, i)));
            lens.setNA(vb::toSingle(at(nas, i)));
            s.mObjData.append(lens);
        }
        // The loop counter ends one past the upper bound: the number of
        // positions the nosepiece really has, whatever its limit said.
        s.mObj.setMAX(vb::toInt16(i));
        return true;
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("ObjectiveData Error"));
        return true;
    }
}

void FilterColor_Read(MainState& s) {
    WaitCursor wait;
    ::FilterColor_Read(s.mFColor);
}

bool FilterCube_Init(MainState& s) {
    try {
        FilterColor_Read(s);
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::FilterBlockCassette) == 0) {
            s.mFilter.setSETUP(0);
            return false;
        }
        s.mFilter.setMIN(vb::toInt16(svc.LowerLimit(LimitIndex::FilterBlockCassette)));
        s.mFilter.setMAX(vb::toInt16(svc.UpperLimit(LimitIndex::FilterBlockCassette)));
        // The mounted word again, not the step: that is what the cassette keeps.
        s.mFilter.setSTEP(vb::toInt16(svc.IsMounted(DeviceIndex::FilterBlockCassette)));

        const QVector<int32_t> numbers = svc.FilterNumbers();
        const QVector<int32_t> reikis = svc.FilterReikis();
        const QVector<int32_t> kyusyus = svc.FilterKyusyus();
        const QVector<int32_t> dms = svc.FilterDMs();
        const QStringList names = svc.FilterNames();
        const QStringList exNames = svc.FilterEXNames();
        const QStringList baNames = svc.FilterBANames();
        const QStringList dmNames = svc.FilterDMNames();

        for (int i = 0; i < numbers.size(); ++i) {
            clsDefFillterCasette cube;
            cube.setNumber(vb::toInt16(at(numbers, i)));
            cube.setReiki(vb::toInt16(at(reikis, i)));
            cube.setDM(vb::toInt16(at(dms, i)));
            cube.setKyusyu(vb::toInt16(at(kyusyus, i)));
            cube.setName(at(names, i));
            cube.setEXName(at(exNames, i));
            cube.setBAName(at(baNames, i));
            cube.setDMName(at(dmNames, i));
            s.mFilterData.append(cube);
        }
        return true;
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("FilterCube Init Error"));
        return true;
    }
}

bool CondenserData_Init(MainState& s) {
    MicroscopeService& svc = *s.micService;
    if (svc.IsMounted(DeviceIndex::CondenserCassette) == 0) {
        s.mCon.setSETUP(0);
        return false;
    }
    s.mCon.setMIN(vb::toInt16(svc.LowerLimit(LimitIndex::CondenserCassette)));
    s.mCon.setMAX(vb::toInt16(svc.UpperLimit(LimitIndex::CondenserCassette)));
    s.mCon.setSTEP(vb::toInt16(svc.Step(LimitIndex::CondenserCassette)));
    const QVector<int32_t> numbers = svc.CondenserNumbers();
    const QStringList names = svc.CondenserNames();
    for (int i = 0; i < numbers.size(); ++i) {
        clsDefBase cell;
        cell.setNumber(vb::toInt16(at(numbers, i)));
        cell.setName(at(names, i));
        s.mConData.append(cell);
    }
    return true;
}
