// The one export macro.  libqorcalc.so is built with hidden visibility; what
// carries QORCALC_API is its public interface, and nothing else is exported.
#pragma once

#if defined(_WIN32)
#  if defined(QORCALC_BUILDING)
#    define QORCALC_API __declspec(dllexport)
#  else
#    define QORCALC_API __declspec(dllimport)
#  endif
#else
#  define QORCALC_API __attribute__((visibility("default")))
#endif
