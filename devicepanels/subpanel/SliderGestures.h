#pragma once
// The four gestures of a device panel's slider, answered alike on every panel
// that computes its own steps: letting go of the thumb and clicking the track
// send the slider's Value, the end buttons send Value one step lower or
// higher. Nothing moves the slider here: it shows what the service reports.
#include <functional>

class QObject;
class usrSliderBase;

// `send` takes the value chosen (Value, Value - step, Value + step); the step
// is read at each gesture.
void connectSliderGestures(usrSliderBase* slider, QObject* context, std::function<double()> step,
                           std::function<void(double)> send);
// The same where the end buttons do something of their own.
void connectSliderGestures(usrSliderBase* slider, QObject* context, std::function<void(double)> sendValue,
                           std::function<void()> stepDown, std::function<void()> stepUp);
