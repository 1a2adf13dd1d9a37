#include "devicepanels/subpanel/SliderGestures.h"

#include "widgets/usrXscroll.h"

void connectSliderGestures(usrSliderBase* slider, QObject* context, std::function<void(double)> sendValue,
                           std::function<void()> stepDown, std::function<void()> stepUp)
{
    QObject::connect(slider, &usrSliderBase::Changed, context, [slider, sendValue] { sendValue(slider->Value()); });
    QObject::connect(slider, &usrSliderBase::TrackClicked, context,
                     [slider, sendValue] { sendValue(slider->Value()); });
    QObject::connect(slider, &usrSliderBase::StepDown, context, std::move(stepDown));
    QObject::connect(slider, &usrSliderBase::StepUp, context, std::move(stepUp));
}

void connectSliderGestures(usrSliderBase* slider, QObject* context, std::function<double()> step,
                           std::function<void(double)> send)
{
    connectSliderGestures(
        slider, context, send, [slider, step, send] { send(slider->Value() - step()); },
        [slider, step, send] { send(slider->Value() + step()); });
}
