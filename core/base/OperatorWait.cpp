#include "core/base/OperatorWait.h"

namespace operatorWait {
namespace {
uint64_t g_marks = 0;
} // namespace

void mark() { ++g_marks; }

uint64_t count() { return g_marks; }

} // namespace operatorWait
