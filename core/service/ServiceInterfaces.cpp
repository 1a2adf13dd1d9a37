// Home of the interfaces' meta-objects (their signals).
#include "core/service/FiberService.h"
#include "core/service/MicroscopeService.h"
