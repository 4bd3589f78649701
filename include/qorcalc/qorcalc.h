// QORCalc: the formula engine.  Include this one header to embed it.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>
#include <qorcalc/collections.h>
#include <qorcalc/geometry.h>
#include <qorcalc/datetime.h>
#include <qorcalc/buffer.h>
#include <qorcalc/streams.h>
#include <qorcalc/vek.h>
#include <qorcalc/window.h>
#include <qorcalc/cells.h>
#include <qorcalc/utility.h>
#include <qorcalc/pool.h>
#include <qorcalc/func.h>
#include <qorcalc/api.h>
#include <qorcalc/node.h>
#include <qorcalc/calc.h>
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/limits.h>
