#pragma once
// For tests: the error number a piece of code raises, 0 when it raises none.
#include "core/base/RunTimeError.h"

#include <functional>

inline int errorNumber(const std::function<void()>& f) {
    try {
        f();
    } catch (const RunTimeError& e) {
        return e.number();
    }
    return 0;
}
