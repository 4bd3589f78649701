// The one export macro.  libqorcalc.so is built with hidden visibility; what
// carries QORCALC_API is its public interface, and nothing else is exported.
// An exported class exports all its members, so its private helpers carry
// QORCALC_LOCAL: they are called from inside the library only.
#pragma once

#if defined(_WIN32)
#  if defined(QORCALC_BUILDING)
#    define QORCALC_API __declspec(dllexport)
#  else
#    define QORCALC_API __declspec(dllimport)
#  endif
#  define QORCALC_LOCAL
#else
#  define QORCALC_API __attribute__((visibility("default")))
#  define QORCALC_LOCAL __attribute__((visibility("hidden")))
#endif
