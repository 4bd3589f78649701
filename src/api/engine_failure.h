// The engine's own view of the per-thread engine-level failure record: the
// calculator's guard asks whether one is pending around every operation,
// which must cost no call when, as nearly always, none is.
#pragma once

namespace qorcalc::detail {

// Set while a failure reported since the last TakeEngineFailure is kept.
extern constinit thread_local bool t_engineFailed;

inline bool EngineFailurePending() noexcept { return t_engineFailed; }

}  // namespace qorcalc::detail
