// Which host data is a script host: the lookup behind `js`.
#pragma once

#include <qorcalc/func.h>

namespace qorcalc::func {

// `hostData` as a script host when exactly that pointer is registered
// (RegisterScriptHost), else null.
IScriptHost* RegisteredScriptHost(void* hostData);

}  // namespace qorcalc::func
