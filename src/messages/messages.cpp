// The catalogue index and the providers over it.
//
// All tables are merged once, on first use, into one id-sorted array per
// language; lookups are then a binary search over read-only data, safe from
// any thread.
#include <qorcalc/messages.h>

#include "table.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <vector>

namespace qorcalc::messages {
namespace {

constexpr size_t kLanguageCount = 2;

using Index = std::array<std::vector<MessageEntry>, kLanguageCount>;

const Index& TheIndex() {
    static const Index index = [] {
        Index built;
        for (const MessageTable* table : Tables()) {
            std::vector<MessageEntry>& texts = built[static_cast<size_t>(table->language)];
            texts.insert(texts.end(), table->entries.begin(), table->entries.end());
        }
        // Stable, so that of two entries of one id (a defect the tests report)
        // lookups keep returning the same one.
        for (std::vector<MessageEntry>& texts : built)
            std::stable_sort(texts.begin(), texts.end(),
                             [](const MessageEntry& a, const MessageEntry& b) { return a.id < b.id; });
        return built;
    }();
    return index;
}

// Our catalogue's texts are final: there is nothing of the host's to
// translate, so Translate leaves a text as it is.
class LanguageProvider final : public ILggInterface {
public:
    explicit LanguageProvider(Language language) : m_language(language) {}
    const char16_t* GetText(uint32_t id) override { return TextOrEmpty(id, m_language); }
    void Translate(CString&) override {}

    static const char16_t* TextOrEmpty(uint32_t id, Language language) {
        const char16_t* text = Text(id, language);
        return text ? text : u"";
    }

private:
    Language m_language;
};

thread_local Language tThreadLanguage = Language::English;

class ThreadLanguageProvider final : public ILggInterface {
public:
    const char16_t* GetText(uint32_t id) override {
        return LanguageProvider::TextOrEmpty(id, tThreadLanguage);
    }
    void Translate(CString&) override {}
};

}  // namespace

const char16_t* Text(uint32_t id, Language language) {
    const std::vector<MessageEntry>& texts = TheIndex()[static_cast<size_t>(language)];
    auto it = std::lower_bound(texts.begin(), texts.end(), id,
                               [](const MessageEntry& e, uint32_t key) { return e.id < key; });
    return it != texts.end() && it->id == id ? it->text : nullptr;
}

ILggInterface* Provider(Language language) {
    static LanguageProvider english(Language::English);
    static LanguageProvider chinese(Language::Chinese);
    return language == Language::Chinese ? &chinese : &english;
}

ILggInterface* ThreadProvider() {
    static ThreadLanguageProvider provider;
    return &provider;
}

void SetThreadLanguage(Language language) { tThreadLanguage = language; }

Language ThreadLanguage() { return tThreadLanguage; }

Language LanguageFromLocale(const char* localeName) {
    if (!localeName) return Language::English;
    const bool zh = std::tolower(static_cast<unsigned char>(localeName[0])) == 'z' &&
                    std::tolower(static_cast<unsigned char>(localeName[1])) == 'h';
    // "zh" alone or followed by a territory, code set or modifier
    // (zh_CN.UTF-8, zh-TW, zh.GB18030, zh@stroke), never a longer word.
    return zh && (localeName[2] == '\0' || std::strchr("_-.@", localeName[2]))
               ? Language::Chinese
               : Language::English;
}

}  // namespace qorcalc::messages
