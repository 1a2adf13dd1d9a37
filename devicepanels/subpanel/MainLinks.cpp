#include "devicepanels/subpanel/MainLinks.h"

#include <array>

namespace MainLinks {
namespace {
std::array<std::function<void(int16_t)>, 2>& shows()
{
    static std::array<std::function<void(int16_t)>, 2> s;
    return s;
}
} // namespace

void setShow(Link link, std::function<void(int16_t)> show) { shows()[size_t(link)] = std::move(show); }

void show(Link link, int16_t value)
{
    if (const auto& f = shows()[size_t(link)])
        f(value);
}

} // namespace MainLinks
