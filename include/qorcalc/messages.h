// Message catalogues: the texts of every message id, in English and Chinese,
// and ready providers for SetLggInterface.
//
// This component is apart from the engine: the engine library holds no texts
// and asks whatever provider the host installed.  A host that wants ours
// links qorcalc_messages and installs one of the providers below:
//
//   SetLggInterface(qorcalc::messages::Provider(qorcalc::messages::Language::English));
//
// Invariants: texts are static and never change while the process runs, so a
// returned pointer stays valid for the life of the process; a provider never
// returns null (an id without a text yields an empty text); texts that the
// engine formats hold at most one "%s" and no other directive.
//
// Usage texts of the function catalogue are argument lists without the
// function name, "(text, count)", because several functions share one
// usage id: a front end writes the name before them.
//
// The texts are kept in tables under src/messages/tables/, one file per
// owner and language; ids below 2000 are the engine's, ids from 2000 on
// belong to the host layer and the command-line tool.
#pragma once

#include <qorcalc/api.h>

#include <cstdint>

namespace qorcalc::messages {

enum class Language { English, Chinese };

// The text of `id` in `language`, or null when the catalogue has none.
const char16_t* Text(uint32_t id, Language language);

// A provider over one language, for SetLggInterface.  Its Translate leaves
// a text as it is: the catalogue has no host texts to translate.
ILggInterface* Provider(Language language);

// A provider that answers in the language the calling thread chose with
// SetThreadLanguage (English until it does): hosts that serve users of both
// languages at once install it once for the whole process.
ILggInterface* ThreadProvider();
void SetThreadLanguage(Language language);
Language ThreadLanguage();

// The language a locale name asks for: Chinese for "zh" alone or followed
// by a territory, code set or modifier ("zh_CN.UTF-8", "zh-TW",
// "zh.GB18030"), letter case ignored; English for anything else (a null or
// empty name included).
Language LanguageFromLocale(const char* localeName);

}  // namespace qorcalc::messages
