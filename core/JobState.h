#pragma once

namespace Core
{
/// Where a job that runs in the background stands.
enum class JobState : int
{
    NotStarted = 0,
    Running = 1,
    Stopped = 2,   ///< ended early, by request
    Complete = 3,  ///< ran to its end
    NoSource = 4,  ///< there is nothing to work on
    Failed = 5,    ///< ended early, by an error
};
}  // namespace Core
