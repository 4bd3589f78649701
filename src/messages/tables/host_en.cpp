// English texts of the host layer (2000..2099: names, functions, cycles,
// scripts) and of the qorcalc tool (2100..2199: files, CSV, formula files,
// usage, the REPL).  The host layer formats them itself: "%s" stands for its
// arguments in order, and both languages keep that order.
#include "table.h"

namespace {

using qorcalc::messages::MessageEntry;

constexpr MessageEntry kTexts[] = {
    {2000, u"unknown name %s: it has no value"},
    {2001, u"unknown function %s"},
    {2002, u"%s refers to itself: %s"},
    {2003, u"function %s failed: %s"},
    {2004, u"function %s was refused"},
    {2005, u"the text is not valid UTF-8"},
    {2006, u"%s has no value because its own calculation failed: %s"},
    {2010, u"js: the script failed: %s"},
    {2011, u"js: the script ran longer than %s ms and was stopped"},
    {2012, u"js: the script needed more than %s MB of memory and was stopped"},
    {2100, u"cannot open %s: %s"},
    {2101, u"%s is empty: the first line must name the columns"},
    {2102, u"%s line %s: %s fields where the header has %s"},
    {2103, u"%s line %s: the text is not valid UTF-8"},
    {2104, u"%s line %s: a quoted field is never closed"},
    {2105, u"%s line %s, column %s: expected `column = formula`"},
    {2106, u"%s line %s, column %s: the column %s is already defined"},
    {2107, u"%s line %s, column %s: %s"},
    {2108, u"%s holds no formulas"},
    {2109, u"%s of %s calculated cells failed"},
    {2110, u"  %s: %s failed, the first on line %s: %s"},
    {2111, u"usage error: %s"},
    {2112,
     u"usage:\n"
     u"  qorcalc eval [--json] [--var NAME=VALUE]... [--format BYTE] [--lang en|zh] FORMULA...\n"
     u"  qorcalc repl [--lang en|zh]\n"
     u"  qorcalc report DATA.csv FORMULAS [--csv|--json|--table] [--jobs N] [--lang en|zh]\n"
     u"  qorcalc funcs [CATEGORY] [--lang en|zh]\n"
     u"\n"
     u"eval     calculates each formula; --var answers a name (VALUE as written:\n"
     u"         'hi' is a text, 12.5 a number, b+1 a formula)\n"
     u"repl     calculates formulas as you type them (:help lists its commands)\n"
     u"report   calculates the `column = formula` lines of FORMULAS for every\n"
     u"         record of the CSV file DATA.csv\n"
     u"funcs    lists the built-in functions, all or one category\n"
     u"\n"
     u"Exit status: 0 all succeeded, 1 something failed, 2 usage error.\n"},
    {2113, u"--var needs NAME=VALUE, not %s"},
    {2114, u"--jobs needs a number from 1 to %s"},
    {2115, u"unknown category %s; the categories are: %s"},
    {2116,
     u"Type a formula to calculate it, or a command:\n"
     u"  :set NAME = VALUE   give NAME a value (as written: 'hi', 12.5, b+1)\n"
     u"  :vars               list the names and their values\n"
     u"  :tree FORMULA       show the compiled tree and the formula as written back\n"
     u"  :funcs [CATEGORY]   list the built-in functions\n"
     u"  :lang [en|zh]       show or change the language\n"
     u"  :help               this text\n"
     u"  :quit               leave (also Ctrl-D)\n"},
    {2117, u"unknown command %s; :help lists the commands"},
    {2118, u":set needs NAME = VALUE"},
    {2119, u"no names have values yet"},
    {2120, u"language: %s"},
    {2121, u"%s is not a language; use en or zh"},
    {2122, u"--format needs a number from 0 to 255, not %s"},
    {2123, u"%s: %s"},
    {2124, u"%s cells were cut to fit %s columns; --csv or --json shows them whole"},
};

}  // namespace

QORCALC_MESSAGE_TABLE(host_en, Language::English, kTexts)
