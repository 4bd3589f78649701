// Our message catalogues, seen as a host sees them: installed as the
// engine's provider, asked for every id the engine can raise or show, and
// judged by the sentences the engine then reports.
#include <qorcalc/message_ids.h>
#include <qorcalc/messages.h>
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <barrier>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "calc_host.h"
#include "messages/table.h"

namespace {

using qorcalc::messages::Language;
namespace msg = qorcalc::messages;

constexpr Language kLanguages[] = {Language::English, Language::Chinese};

std::string U8(const char16_t* text) { return text ? CString(text).ToUtf8() : std::string("<null>"); }

const char* Name(Language language) { return language == Language::English ? "English" : "Chinese"; }

// How many "%s" a text holds, or -1 when it holds any other directive (a
// literal percent sign in a formatted text is "%%").
int StringDirectives(const std::u16string& text) {
    int count = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'%') continue;
        if (i + 1 < text.size() && text[i + 1] == u'%') {
            ++i;
        } else if (i + 1 < text.size() && text[i + 1] == u's') {
            ++count;
            ++i;
        } else {
            return -1;
        }
    }
    return count;
}

// A text used as it stands shows every percent sign, so it may hold neither
// a directive nor a doubled sign.
bool IsPlain(const std::u16string& text) {
    return text.find(u"%s") == std::u16string::npos && text.find(u"%%") == std::u16string::npos;
}

// Installs a provider for the life of the object.
class Installed {
public:
    explicit Installed(ILggInterface* provider) { SetLggInterface(provider); }
    ~Installed() { SetLggInterface(nullptr); }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;
};

// Our provider, recording every id the engine asks it for.
class RecordingProvider : public ILggInterface {
public:
    explicit RecordingProvider(Language language) : m_inner(msg::Provider(language)) {}
    const char16_t* GetText(uint32_t id) override {
        asked.insert(id);
        return m_inner->GetText(id);
    }
    void Translate(CString& text) override { m_inner->Translate(text); }
    std::set<uint32_t> asked;

private:
    ILggInterface* m_inner;
};

// Every built-in, by category, as the catalogue lists it.
std::vector<std::unique_ptr<CFuncItem>> ListAll(CFuncMnger& mnger) {
    std::vector<std::unique_ptr<CFuncItem>> items;
    CPtrArray listed;
    for (int category = 0; mnger.GetFuncsOfCategory(category, listed); ++category) {
        for (void* item : listed) items.emplace_back(static_cast<CFuncItem*>(item));
        listed.RemoveAll();
    }
    return items;
}

// Every id the engine raises, and whether it formats the id's text with a
// formula, call text or function name.
struct ErrorId {
    uint32_t id;
    bool formatted;
};
constexpr ErrorId kErrorIds[] = {
    {CALC_MSG_BAD_FUNCTION_NAME, true}, {CALC_MSG_BAD_NUMBER, true},
    {CALC_MSG_BAD_EXPRESSION, true},    {CALC_MSG_BAD_ARGUMENT, true},
    {CALC_MSG_MIXED_TYPES, true},       {CALC_MSG_BAD_NAME, true},
    {CALC_MSG_BRACKETS, true},          {CALC_MSG_FUNCTION_FAILED, false},
    {CALC_MSG_TEXT_TOO_LONG, true},     {CALC_MSG_FORMULA_TOO_LONG, true},
    {CALC_MSG_TREE_TOO_LARGE, true},    {CALC_MSG_STALE_TERM, false},
    {CALC_MSG_NO_SCRIPT_HOST, false},   {CALC_MSG_OUT_OF_MEMORY, false},
    {CALC_MSG_INTERNAL, false},         {CALC_MSG_CONVERTED_TOO_LONG, true},
};

TEST(Messages, EveryErrorIdHasATextWithTheDirectivesTheEngineExpects) {
    for (Language language : kLanguages) {
        for (const ErrorId& e : kErrorIds) {
            SCOPED_TRACE(std::string(Name(language)) + " " + std::to_string(e.id));
            const char16_t* text = msg::Text(e.id, language);
            ASSERT_NE(text, nullptr);
            const std::u16string t(text);
            EXPECT_GT(t.size(), 10u);
            if (e.formatted)
                EXPECT_EQ(StringDirectives(t), 1) << U8(text);
            else
                EXPECT_TRUE(IsPlain(t)) << U8(text);
        }
    }
}

TEST(Messages, LimitTextsNameTheLimitAndItsValue) {
    const struct {
        uint32_t id;
        const char* constant;
        const char* value;
    } limits[] = {
        {CALC_MSG_TEXT_TOO_LONG, "CALC_MAX_TEXT_LENGTH", "16,777,216"},
        {CALC_MSG_FORMULA_TOO_LONG, "CALC_MAX_FORMULA_LENGTH", "2,097,152"},
        {CALC_MSG_TREE_TOO_LARGE, "CALC_MAX_NODES", "2,097,152"},
        {CALC_MSG_CONVERTED_TOO_LONG, "CALC_MAX_CONVERTED_LENGTH", "4,194,304"},
    };
    for (Language language : kLanguages) {
        for (const auto& limit : limits) {
            const std::string text = U8(msg::Text(limit.id, language));
            EXPECT_NE(text.find(limit.constant), std::string::npos) << text;
            EXPECT_NE(text.find(limit.value), std::string::npos) << text;
        }
    }
}

// Every category, description and usage id of the catalogue, taken from the
// engine itself: the ids it asks the provider for while it lists and
// describes every built-in.
TEST(Messages, EveryCatalogueIdTheEngineAsksForHasATextInBothLanguages) {
    RecordingProvider recorder(Language::English);
    Installed installed(&recorder);
    std::unique_ptr<CFuncMnger> mnger(CFuncMnger::NewFuncMnger());
    const auto items = ListAll(*mnger);
    ASSERT_EQ(items.size(), 66u);
    EXPECT_GE(recorder.asked.size(), 60u);  // four categories, about ninety texts
    for (uint32_t id : recorder.asked) {
        for (Language language : kLanguages) {
            SCOPED_TRACE(std::string(Name(language)) + " " + std::to_string(id));
            const char16_t* text = msg::Text(id, language);
            ASSERT_NE(text, nullptr);
            EXPECT_NE(text[0], u'\0');
            EXPECT_TRUE(IsPlain(text)) << U8(text);
        }
    }
}

TEST(Messages, GetFuncInfoThroughOurProviderDescribesEveryBuiltin) {
    for (Language language : kLanguages) {
        SCOPED_TRACE(Name(language));
        Installed installed(msg::Provider(language));
        std::unique_ptr<CFuncMnger> mnger(CFuncMnger::NewFuncMnger());
        std::set<std::string> categories;
        for (const auto& item : ListAll(*mnger)) {
            const std::string name = item->m_strName.ToUtf8();
            SCOPED_TRACE(name);
            CFuncItem info;
            ASSERT_EQ(mnger->GetFuncInfo(CString::FromUtf8(" " + name + " "), info), 1);
            EXPECT_EQ(info.m_strDesc, msg::Text(static_cast<uint32_t>(info.m_nDescId), language));
            ASSERT_GE(info.m_strDesc.GetLength(), 5);
            // A description is a sentence of its language.
            EXPECT_EQ(info.m_strDesc[info.m_strDesc.GetLength() - 1], language == Language::English ? u'.' : u'\u3002')
                << info.m_strDesc.ToUtf8();
            categories.insert(info.m_strCategory.ToUtf8());
            if (name == "rand") {
                EXPECT_EQ(info.m_arrUsage.GetSize(), 0);  // rand takes no arguments
                continue;
            }
            ASSERT_EQ(info.m_arrUsage.GetSize(), 1);
            // Front ends write the function name before the argument list.
            const CString& usage = info.m_arrUsage[0];
            EXPECT_EQ(usage[0], u'(') << usage.ToUtf8();
            EXPECT_EQ(usage[usage.GetLength() - 1], u')') << usage.ToUtf8();
        }
        EXPECT_EQ(categories.size(), 4u);
    }
}

TEST(Messages, SampleTextsAreInTheirLanguage) {
    struct Row {
        uint32_t id;
        Language language;
        const char* contains;
    } rows[] = {
        {1006, Language::English, "Logic"},    {1006, Language::Chinese, "逻辑"},
        {1009, Language::English, "Date"},     {1009, Language::Chinese, "日期"},
        {1061, Language::English, "count"},    {1061, Language::Chinese, "个数"},
        {1107, Language::English, "Chinese"},  {1107, Language::Chinese, "大写"},
    };
    for (const Row& row : rows) {
        const std::string text = U8(msg::Text(row.id, row.language));
        EXPECT_NE(text.find(row.contains), std::string::npos) << row.id << ": " << text;
    }
}

TEST(Messages, UnknownIdsHaveNoTextAndProvidersAnswerThemEmpty) {
    EXPECT_EQ(msg::Text(0, Language::English), nullptr);
    EXPECT_EQ(msg::Text(999999, Language::Chinese), nullptr);
    for (Language language : kLanguages) {
        const char16_t* text = msg::Provider(language)->GetText(999999);
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(text[0], u'\0');
    }
}

TEST(Messages, ProvidersLeaveTextsUntranslated) {
    for (ILggInterface* provider : {msg::Provider(Language::English), msg::Provider(Language::Chinese),
                                    msg::ThreadProvider()}) {
        CString text(u"Host group \u62a5\u8868");
        provider->Translate(text);
        EXPECT_EQ(text, CString(u"Host group \u62a5\u8868"));
    }
}

// The engine, given our provider, reports whole sentences that quote the
// failing formula or call.
TEST(Messages, TheEngineReportsRealFailuresAsSentencesInEitherLanguage) {
    const struct {
        const char* formula;
        uint32_t id;
        const char* quoted;  // what the sentence quotes; null: nothing
    } rows[] = {
        {"1 +", CALC_MSG_BAD_EXPRESSION, "1 +"},
        {"12a + 1", CALC_MSG_BAD_NUMBER, "12a + 1"},
        {"a%b", CALC_MSG_BAD_NAME, "a%b"},
        {"(1 + 2", CALC_MSG_BRACKETS, "(1 + 2"},
        {"a&&", CALC_MSG_BAD_EXPRESSION, "a &&"},  // the text as the engine spaced it
        {"left('abc', -1)", CALC_MSG_FUNCTION_FAILED, nullptr},
        {"sqrt(-1) + 1", CALC_MSG_FUNCTION_FAILED, nullptr},
    };
    for (Language language : kLanguages) {
        Installed installed(msg::Provider(language));
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(Name(language)) + " " + row.formula);
            calctest::TestHost host;
            host.names = {{"a", "1"}, {"b", "0"}};
            const calctest::Outcome o = host.Run(row.formula);
            ASSERT_EQ(o.code, CALC_ERROR);
            CString expected;
            expected.Format(msg::Text(row.id, language), CString::FromUtf8(row.quoted ? row.quoted : ""));
            if (row.quoted) {
                EXPECT_EQ(o.errorText, expected.ToUtf8());
                EXPECT_NE(o.errorText.find(row.quoted), std::string::npos);
            } else if (row.id == CALC_MSG_FUNCTION_FAILED) {
                EXPECT_EQ(o.errorCode, static_cast<int>(row.id));
                EXPECT_EQ(o.errorText, U8(msg::Text(row.id, language)));
            }
            EXPECT_TRUE(IsPlain(CString::FromUtf8(o.errorText).GetString())) << o.errorText;
            const std::string end = language == Language::English ? "." : "。";
            EXPECT_EQ(o.errorText.substr(o.errorText.size() - end.size()), end) << o.errorText;
        }
    }
}

TEST(Messages, FunctionFailuresQuoteTheCallTextAndUnknownNamesTheName) {
    for (Language language : kLanguages) {
        SCOPED_TRACE(Name(language));
        Installed installed(msg::Provider(language));
        std::unique_ptr<CFuncMnger> mnger(CFuncMnger::NewFuncMnger());
        const struct {
            const char* name;
            std::vector<const char*> args;
            uint32_t id;
            const char* quoted;
        } calls[] = {
            {"left", {"abc", "-1"}, CALC_MSG_BAD_EXPRESSION, "left(abc, -1)"},
            {"sqrt", {"-1"}, CALC_MSG_BAD_ARGUMENT, "sqrt(-1)"},
            {"noSuchFunction", {"1"}, CALC_MSG_BAD_FUNCTION_NAME, "noSuchFunction"},
        };
        for (const auto& call : calls) {
            CFuncPara para;
            para.m_strFuncName = CString::FromUtf8(call.name);
            for (const char* arg : call.args) para.m_arrParas.Add(CString::FromUtf8(arg));
            EXPECT_LE(mnger->Call(para, 0, -1), 0);
            CString expected;
            expected.Format(msg::Text(call.id, language), CString::FromUtf8(call.quoted));
            const std::string got = CString(GetLastErrorText()).ToUtf8();
            EXPECT_EQ(got, expected.ToUtf8());
            EXPECT_NE(got.find(call.quoted), std::string::npos) << got;
        }
    }
}

TEST(Messages, MixedTypesAreReportedWhenMixingIsOff) {
    CUtilityCalc::Calc_EnableComplex(0);
    for (Language language : kLanguages) {
        Installed installed(msg::Provider(language));
        calctest::TestHost host;
        const calctest::Outcome o = host.Run("1 + 'x'");
        CString expected;
        expected.Format(msg::Text(CALC_MSG_MIXED_TYPES, language), CString(u"1 + 'x'"));
        EXPECT_EQ(o.errorText, expected.ToUtf8());
    }
    CUtilityCalc::Calc_EnableComplex(1);
}

TEST(Messages, ThreadProviderKeepsTheLanguagesOfTwoThreadsApart) {
    Installed installed(msg::ThreadProvider());
    EXPECT_EQ(msg::ThreadLanguage(), Language::English);
    constexpr int kRounds = 200;
    std::barrier start(2);
    std::map<Language, std::vector<std::string>> seen;
    auto work = [&](Language language, std::vector<std::string>& texts) {
        msg::SetThreadLanguage(language);
        start.arrive_and_wait();
        for (int i = 0; i < kRounds; ++i) {
            calctest::TestHost host;
            texts.push_back(host.Run("(1 + 2").errorText);
        }
    };
    std::thread english(work, Language::English, std::ref(seen[Language::English]));
    std::thread chinese(work, Language::Chinese, std::ref(seen[Language::Chinese]));
    english.join();
    chinese.join();
    for (Language language : kLanguages) {
        CString expected;
        expected.Format(msg::Text(CALC_MSG_BRACKETS, language), CString(u"(1 + 2"));
        ASSERT_EQ(seen[language].size(), static_cast<size_t>(kRounds));
        for (const std::string& text : seen[language]) ASSERT_EQ(text, expected.ToUtf8()) << Name(language);
    }
    // The threads' choices did not leak into this one.
    EXPECT_EQ(msg::ThreadLanguage(), Language::English);
    msg::SetThreadLanguage(Language::Chinese);
    EXPECT_EQ(U8(msg::ThreadProvider()->GetText(1006)), "逻辑");
    msg::SetThreadLanguage(Language::English);
}

TEST(Messages, LanguageFromLocale) {
    const struct {
        const char* locale;
        Language language;
    } rows[] = {
        {"zh_CN.UTF-8", Language::Chinese}, {"zh_TW", Language::Chinese}, {"zh", Language::Chinese},
        {"zh-Hans", Language::Chinese},     {"ZH_cn", Language::Chinese}, {"zh.GB18030", Language::Chinese},
        {"en_US.UTF-8", Language::English}, {"C", Language::English},     {"POSIX", Language::English},
        {"", Language::English},            {nullptr, Language::English}, {"zha_XX", Language::English},
        {"z", Language::English},           {"de_DE", Language::English},
    };
    for (const auto& row : rows)
        EXPECT_EQ(msg::LanguageFromLocale(row.locale), row.language) << (row.locale ? row.locale : "null");
}

// The tables themselves: complete in both languages, one text per id.
TEST(MessageTables, EveryIdHasExactlyOneNonEmptyTextInEveryLanguage) {
    std::map<uint32_t, std::map<Language, int>> counts;
    for (const msg::MessageTable* table : msg::Tables()) {
        for (const msg::MessageEntry& entry : table->entries) {
            ++counts[entry.id][table->language];
            ASSERT_NE(entry.text, nullptr) << entry.id;
            EXPECT_NE(entry.text[0], u'\0') << entry.id;
        }
    }
    EXPECT_GT(counts.size(), 100u);
    for (const auto& [id, perLanguage] : counts) {
        for (Language language : kLanguages) {
            const auto it = perLanguage.find(language);
            EXPECT_TRUE(it != perLanguage.end() && it->second == 1)
                << id << " in " << Name(language) << ": " << (it == perLanguage.end() ? 0 : it->second) << " texts";
        }
    }
}

}  // namespace
