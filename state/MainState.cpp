#include "state/MainState.h"

MainState& mainState() {
    static MainState state;
    return state;
}
