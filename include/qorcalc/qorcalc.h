// QORCalc: the formula engine.  Include this one header to embed it.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>
#include <qorcalc/collections.h>
