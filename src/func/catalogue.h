// The process-wide catalogue of the 66 built-in functions.
//
// The catalogue is built once per process, under a lock, by the first
// managers constructed (EnsureCatalogue); afterwards it is read-only, so
// BuiltinAt and FindBuiltin take no lock.  Neither may be called before a
// manager has been constructed.
#pragma once

#include "func/builtins/builtins.h"

#include <cstdint>
#include <string_view>

namespace qorcalc::func {

inline constexpr int kBuiltinCount = 66;

// Message ids of the four built-in categories.
inline constexpr int kCategoryLogic = 1006;
inline constexpr int kCategoryMath = 1007;
inline constexpr int kCategoryText = 1008;
inline constexpr int kCategoryDate = 1009;

struct CatalogueEntry {
    const char16_t* name;     // as written in the catalogue, e.g. "chineseBankDate"
    int32_t categoryId;       // message id of the category
    int32_t descId;           // message id of the description
    int32_t usageId;          // message id of the usage line; -1: none
    uint8_t kind;             // return kind: 0 any, 1 text, 2 whole, 3 date-time, 4 date, 6 number
    builtins::BuiltinFn fn;   // the implementation, never null
};

// Called by every manager constructor: builds the catalogue unless it is
// known to be built already.
void EnsureCatalogue();

// How many times the catalogue has been built in this process (1 once any
// manager exists).
int CatalogueBuildCount();

// Entry `index`, 0 <= index < kBuiltinCount.
const CatalogueEntry& BuiltinAt(int index);

// The index of the built-in called `name`, ignoring the case of ASCII
// letters, or -1.
int FindBuiltin(std::u16string_view name);
int FindBuiltin(const char16_t* name);

}  // namespace qorcalc::func
