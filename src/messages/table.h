// Message tables: how texts are laid out and found.
//
// Texts live in tables, one source file per owner and language under
// tables/ (engine_en.cpp, engine_zh.cpp; later host_en.cpp, ...).  A table
// file defines one MessageTable whose name is the file's name without its
// extension; the build lists every file of tables/ and generates the
// registry that names them, so adding a table is adding a file, with no
// other file to edit (a table whose name does not match its file fails to
// link).  Ids belong to one owner each:
//
//   below 2000   the engine: its errors and its function catalogue
//   2000 and up  the host layer and the command-line tool
//
// Invariants (checked by the tests): an id has a text in every language or
// in none, no id appears twice in one language, a text is never empty.
#pragma once

#include <qorcalc/messages.h>

#include <cstdint>
#include <span>

namespace qorcalc::messages {

struct MessageEntry {
    uint32_t id;
    const char16_t* text;
};

struct MessageTable {
    Language language;
    std::span<const MessageEntry> entries;
};

// Every table of the build, in no particular order.
std::span<const MessageTable* const> Tables();

}  // namespace qorcalc::messages

// Defines table `name` (the file's name) of `language` over the array `entries`.
#define QORCALC_MESSAGE_TABLE(name, language, entries)                \
    namespace qorcalc::messages::tables {                             \
    extern const MessageTable name;                                   \
    const MessageTable name{language, std::span<const MessageEntry>(entries)}; \
    }
