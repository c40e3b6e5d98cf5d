#include "macos/RecordedMac.h"

namespace {

constexpr auto morning
    = std::chrono::sys_days { std::chrono::year { 2026 } / 11 / 15 } + std::chrono::hours { 12 };

}

RecordedMac::RecordedMac(const std::filesystem::path& applicationSupport)
    : rest(applicationSupport, morning)
{
}

void RecordedMac::pass(std::chrono::milliseconds time)
{
    rest.advance(time);
    system.pass(std::chrono::duration<double>(time).count());
}
