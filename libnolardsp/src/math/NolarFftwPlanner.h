#pragma once

#include <mutex>

namespace nolardsp {

// The one lock under which the library makes and destroys transform plans:
// the planner keeps global state and is not re-entrant. Set-up path only.
std::mutex& FftwPlannerMutex();

}  // namespace nolardsp
