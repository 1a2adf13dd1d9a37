#pragma once
// The auto focus of the simulated stand: the camera's sharpness of the sample
// as a function of the focus position, and the search that finds its peak by
// moving the focus drive, as a camera-driven auto focus does.
//
// The sample: a sharp peak (about the objective's depth of focus wide) on a
// broad shoulder of contrast, so that the search can tell the direction from
// far away. The search climbs with growing steps until the sharpness falls,
// then halves its step around the best position down to one count, each
// probe a real move of the drive; it lands on the peak. It fails when the
// peak lies outside the travel it may use.
#include <cstdint>
#include <functional>
#include <memory>

class MotorAxis;

struct FocusSample {
    double best = 0;        // count of the sharpest image
    double depth = 100;     // counts: width of the sharp peak
    // Sharpness 0..1 of the camera's image with the focus at `z`.
    double sharpness(double z) const;
    // The peak stands out of the shoulder: the image is in focus.
    bool inFocus(double z) const;
};

class FocusSearch {
public:
    // `done(error)`: 0 once the drive stands on the peak; the motor's
    // failure code when a move failed or was stopped (escape); the
    // limitation code when no peak lies within `lower`..`upper`.
    using Done = std::function<void(int32_t error)>;

    // Starts the search on `axis` from where it stands.
    static void run(MotorAxis* axis, const FocusSample& sample, double lower, double upper, Done done);
};
