#include "stand/devices/FocusSearch.h"

#include "core/base/RunTimeError.h"
#include "stand/devices/MotorAxis.h"

#include <QPointer>
#include <algorithm>
#include <cmath>

namespace {
// The shoulder of contrast around the peak, counts.
constexpr double kShoulder = 40000;
// The first climbing step and the largest, counts.
constexpr double kFirstStep = 2000;
constexpr double kLargestStep = 16384;
} // namespace

double FocusSample::sharpness(double z) const {
    const double d = z - best;
    const double w = std::max(depth, 1.0);
    return std::exp(-(d / w) * (d / w)) + 0.3 / (1.0 + std::abs(d) / kShoulder);
}

bool FocusSample::inFocus(double z) const { return sharpness(z) > 0.5; }

namespace {

struct Search : std::enable_shared_from_this<Search> {
    QPointer<MotorAxis> axis;
    FocusSample sample;
    double lower = 0, upper = 0;
    FocusSearch::Done done;
    double pos = 0, score = 0;   // best position so far
    double dir = 1, step = kFirstStep;
    double h = 0;                // step of the refinement
    int side = 0;                // refinement: 0 probing above, 1 below

    double clamp(double z) const { return std::clamp(std::round(z), lower, upper); }

    // Moves the drive to `z` and then runs `next` with the sharpness there.
    void probe(double z, std::function<void(double)> next) {
        if (!axis) return finish(RunTimeError::ServiceGone);
        auto self = shared_from_this();
        axis->moveTo(z, false, [self, z, next](int32_t error) {
            if (error != 0) return self->finish(error);
            // A move stopped short (escape) ends the search where it is.
            if (!self->axis || self->axis->value() != z) return self->finish(RunTimeError::ServiceLimitation);
            next(self->sample.sharpness(z));
        });
    }

    void start() {
        pos = clamp(axis->value());
        score = sample.sharpness(pos);
        const double up = clamp(pos + step);
        if (up == pos) { dir = -1; return climb(); }
        auto self = shared_from_this();
        probe(up, [self, up](double s) {
            if (s > self->score) { self->pos = up; self->score = s; self->step *= 2; }
            else self->dir = -1;
            self->climb();
        });
    }

    // Climbs with doubling steps until the sharpness falls or a limit is hit.
    void climb() {
        const double next = clamp(pos + dir * step);
        if (next == pos) return refine(step);
        auto self = shared_from_this();
        probe(next, [self, next](double s) {
            if (s > self->score) {
                self->pos = next;
                self->score = s;
                self->step = std::min(self->step * 2, kLargestStep);
                self->climb();
            } else {
                self->refine(self->step);
            }
        });
    }

    // Halves the step around the best position down to one count.
    void refine(double bracket) {
        h = std::max(1.0, std::floor(bracket / 2));
        side = 0;
        refineStep();
    }

    void refineStep() {
        const double z = clamp(pos + (side == 0 ? h : -h));
        auto self = shared_from_this();
        auto after = [self, z](double s) {
            if (s > self->score) { self->pos = z; self->score = s; }
            self->nextProbe();
        };
        if (z == pos) return after(score);
        probe(z, after);
    }

    void nextProbe() {
        if (side == 0) { side = 1; return refineStep(); }
        if (h <= 1) return land();
        h = std::max(1.0, std::floor(h / 2));
        side = 0;
        refineStep();
    }

    void land() {
        auto self = shared_from_this();
        probe(pos, [self](double) {
            self->finish(self->sample.inFocus(self->pos) ? 0 : RunTimeError::ServiceLimitation);
        });
    }

    void finish(int32_t error) {
        FocusSearch::Done d = std::move(done);
        done = nullptr;
        if (d) d(error);
    }
};

} // namespace

void FocusSearch::run(MotorAxis* axis, const FocusSample& sample, double lower, double upper, Done done) {
    auto s = std::make_shared<Search>();
    s->axis = axis;
    s->sample = sample;
    s->lower = lower;
    s->upper = std::max(lower, upper);
    s->done = std::move(done);
    s->start();
}
