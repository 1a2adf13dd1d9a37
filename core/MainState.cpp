#include "core/MainState.h"

MainState& mainState() {
    static MainState state;
    return state;
}
