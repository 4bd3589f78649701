// The built-in catalogue: a names blob, a descriptor table, and the runtime
// catalogue with its sorted lookup, filled once per process.
#include "func/catalogue.h"

#include <qorcalc/buffer.h>
#include <qorcalc/pool.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <string_view>

namespace qorcalc::func {
namespace {

using namespace qorcalc::builtins;

// The 66 names, each zero-terminated, in catalogue order.  The order is also
// ascending once lower-cased, which lets the sorted lookup load the blob as
// it stands.
constexpr char16_t kNames[] =
    u"abs\0average\0ceil\0chineseBankDate\0chineseDate\0chineseNum\0compare\0compareDate\0"
    u"dateAddDays\0dateAddHours\0dateAddMinutes\0dateAddMonths\0dateAddYears\0"
    u"dateDifDays\0dateDifHours\0dateDifMinutes\0dateDifMonths\0dateDifYears\0"
    u"encodeURI\0encodeURIComponent\0endWith\0englishNum\0exp\0"
    u"firstDateOfMonth\0firstDateOfSeason\0firstDateOfYear\0floor\0formatDate\0formatNum\0"
    u"getDay\0getHour\0getMinute\0getMonth\0getYear\0if\0indexOf\0int\0js\0"
    u"lastDateOfMonth\0lastDateOfSeason\0lastDateOfYear\0left\0len\0log\0log10\0"
    u"max\0mid\0min\0mod\0now\0percent\0pow\0rand\0replace\0replaceAll\0right\0RMB\0"
    u"round\0sqrt\0sum\0sumdim\0toLowerCase\0toUpperCase\0trim\0trimLeft\0trimRight";

constexpr int CountNames(std::u16string_view blob) {
    int count = 0;
    for (char16_t c : blob) count += (c == 0);
    return count;
}
static_assert(CountNames({kNames, std::size(kNames)}) == kBuiltinCount);

// One descriptor row.  The ids are kept as the 16-bit values of the
// catalogue and read as signed, so the usage id 65535 of rand means "none".
struct Descriptor {
    uint16_t category, desc, usage, kind;
    BuiltinFn fn;
};

// Same order as kNames.  The odd entries are intended: replace and replaceAll
// share a description, the first/last-date functions and chineseNum use ids
// below 1000, and indexOf, a number, is of kind text.
constexpr std::array<Descriptor, kBuiltinCount> kDescriptors{{
    {1007, 1015, 1057, 6, Abs},         // abs
    {1007, 1012, 1056, 6, Average},     // average
    {1007, 1020, 1057, 2, Ceil},        // ceil
    {1008, 1111, 1113, 1, ChineseBankDate}, // chineseBankDate
    {1008, 1114, 1113, 1, ChineseDate}, // chineseDate
    {1008, 1037, 631, 1, ChineseNum},   // chineseNum
    {1008, 1141, 1143, 2, Compare},     // compare
    {1009, 1054, 1059, 2, CompareDate}, // compareDate
    {1009, 1045, 1064, 4, DateAddDays}, // dateAddDays
    {1009, 1046, 1064, 3, DateAddHours}, // dateAddHours
    {1009, 1047, 1064, 3, DateAddMinutes}, // dateAddMinutes
    {1009, 1044, 1064, 4, DateAddMonths}, // dateAddMonths
    {1009, 1043, 1064, 4, DateAddYears}, // dateAddYears
    {1009, 1040, 1064, 2, DateDifDays}, // dateDifDays
    {1009, 1041, 1064, 2, DateDifHours}, // dateDifHours
    {1009, 1042, 1064, 2, DateDifMinutes}, // dateDifMinutes
    {1009, 1039, 1064, 2, DateDifMonths}, // dateDifMonths
    {1009, 1038, 1064, 2, DateDifYears}, // dateDifYears
    {1008, 1146, 1057, 1, EncodeURI},   // encodeURI
    {1008, 1147, 1057, 1, EncodeURIComponent}, // encodeURIComponent
    {1008, 1140, 1142, 2, EndWith},     // endWith
    {1008, 1108, 1057, 1, EnglishNum},  // englishNum
    {1007, 1022, 1057, 6, Exp},         // exp
    {1009, 653, 1057, 3, FirstDateOfMonth}, // firstDateOfMonth
    {1009, 654, 1057, 3, FirstDateOfSeason}, // firstDateOfSeason
    {1009, 655, 1057, 3, FirstDateOfYear}, // firstDateOfYear
    {1007, 1019, 1057, 2, Floor},       // floor
    {1008, 1110, 1112, 1, FormatDate},  // formatDate
    {1008, 1264, 1265, 1, FormatNum},   // formatNum
    {1009, 1050, 1057, 2, GetDay},      // getDay
    {1009, 1051, 1057, 2, GetHour},     // getHour
    {1009, 1052, 1057, 2, GetMinute},   // getMinute
    {1009, 1049, 1057, 2, GetMonth},    // getMonth
    {1009, 1048, 1057, 2, GetYear},     // getYear
    {1006, 1010, 1055, 0, If},          // if
    {1008, 1119, 1120, 1, IndexOf},     // indexOf
    {1007, 1018, 1057, 2, Int},         // int
    {1006, 1144, 1145, 1, Js},          // js
    {1009, 656, 1057, 3, LastDateOfMonth}, // lastDateOfMonth
    {1009, 657, 1057, 3, LastDateOfSeason}, // lastDateOfSeason
    {1009, 658, 1057, 3, LastDateOfYear}, // lastDateOfYear
    {1008, 1029, 1061, 1, Left},        // left
    {1008, 1027, 1057, 2, Len},         // len
    {1007, 1024, 1057, 6, Log},         // log
    {1007, 1025, 1057, 6, Log10},       // log10
    {1007, 1013, 1056, 6, Max},         // max
    {1008, 1033, 1062, 1, Mid},         // mid
    {1007, 1014, 1056, 6, Min},         // min
    {1007, 1017, 1059, 6, Mod},         // mod
    {1009, 1053, 1065, 3, Now},         // now
    {1007, 1115, 1058, 6, Percent},     // percent
    {1007, 1026, 1060, 6, Pow},         // pow
    {1007, 1023, 65535, 6, Rand},       // rand
    {1008, 1035, 1063, 1, Replace},     // replace
    {1008, 1035, 1293, 1, ReplaceAll},  // replaceAll
    {1008, 1031, 1061, 1, Right},       // right
    {1008, 1107, 1057, 1, Rmb},         // RMB
    {1007, 1016, 1058, 6, Round},       // round
    {1007, 1021, 1057, 6, Sqrt},        // sqrt
    {1007, 1011, 1056, 6, Sum},         // sum
    {1007, 1295, 1056, 1, SumDim},      // sumdim
    {1008, 1220, 1057, 1, ToLowerCase}, // toLowerCase
    {1008, 1219, 1057, 1, ToUpperCase}, // toUpperCase
    {1008, 1244, 1247, 1, Trim},        // trim
    {1008, 1245, 1247, 1, TrimLeft},    // trimLeft
    {1008, 1246, 1247, 1, TrimRight},   // trimRight
}};

struct Catalogue {
    std::mutex lock;                         // guards the one-time build
    std::atomic<int> managers{0};            // managers that went through the build path
    int builds = 0;                          // times the build ran to the end (under `lock`)
    std::array<CatalogueEntry, kBuiltinCount> entries{};
    CStringPool lookup;                      // the lower-cased names, sorted
};

Catalogue& TheCatalogue() {
    static Catalogue catalogue;
    return catalogue;
}

int32_t SignedId(uint16_t id) { return static_cast<int16_t>(id); }

// Fills the runtime catalogue; the caller holds the lock.
void Build(Catalogue& c) {
    if (c.lookup.GetSize() > 0) return;
    CMem names(1024);
    const char16_t* p = kNames;
    for (int i = 0; i < kBuiltinCount; ++i) {
        const Descriptor& d = kDescriptors[static_cast<size_t>(i)];
        CatalogueEntry& e = c.entries[static_cast<size_t>(i)];
        e.name = p;
        e.categoryId = SignedId(d.category);
        e.descId = SignedId(d.desc);
        e.usageId = SignedId(d.usage);
        e.kind = static_cast<uint8_t>(d.kind);
        e.fn = d.fn;
        const size_t length = std::u16string_view(p).size() + 1;
        names.Add(p, static_cast<uint32_t>(length * sizeof(char16_t)));
        p += length;
    }
    c.lookup.LoadSortedBuf(names, 1, nullptr);
    ++c.builds;
}

}  // namespace

void EnsureCatalogue() {
    Catalogue& c = TheCatalogue();
    // Once two managers have passed the build, the lookup is known to be
    // filled; the acquire load makes the filled catalogue visible here.
    if (c.managers.load(std::memory_order_acquire) > 1) return;
    {
        std::lock_guard<std::mutex> guard(c.lock);
        Build(c);
    }
    c.managers.fetch_add(1, std::memory_order_acq_rel);
}

int CatalogueBuildCount() {
    Catalogue& c = TheCatalogue();
    std::lock_guard<std::mutex> guard(c.lock);
    return c.builds;
}

const CatalogueEntry& BuiltinAt(int index) { return TheCatalogue().entries[static_cast<size_t>(index)]; }

namespace {

// The lookup is a function of the name alone, and a report asks for the
// same few names over and over, spelt the same way: each thread keeps the
// answers for the spellings it asked last, one per slot of a small table
// indexed by a hash of the spelling.  Plain data, so it can be read at any
// point of a thread's life.
constexpr size_t kMaxNameLength = 31;  // no built-in name comes near it
struct CRecentName {
    char16_t spelling[kMaxNameLength];
    uint16_t length = 0;  // 0: an empty slot (no name is empty and a built-in)
    int16_t index = -1;
};
constexpr size_t kRecentNames = 64;
thread_local CRecentName t_recentNames[kRecentNames];

int LookUpFolded(const char16_t* name, size_t n) {
    // Only ASCII letters are folded, as in the lookup, so that the process
    // locale (a Turkish dotless i, say) never hides a built-in.
    char16_t key[kMaxNameLength + 1];
    for (size_t i = 0; i < n; ++i)
        key[i] = name[i] >= u'A' && name[i] <= u'Z' ? static_cast<char16_t>(name[i] - u'A' + u'a') : name[i];
    key[n] = 0;
    const int found = TheCatalogue().lookup.BSearch(key);
    // The lookup may hold one empty string after the last name (the blob ends
    // with a terminator); it is no built-in.
    return found >= 0 && found < kBuiltinCount ? found : -1;
}

}  // namespace

int FindBuiltin(std::u16string_view name) {
    // A longer name is no built-in, and the lookup allocates nothing.
    const size_t n = name.size();
    if (n == 0 || n >= kMaxNameLength) return -1;
    uint32_t hash = 2166136261u;
    for (const char16_t c : name) hash = (hash ^ c) * 16777619u;
    CRecentName& recent = t_recentNames[hash % kRecentNames];
    if (recent.length == n && std::equal(name.begin(), name.end(), recent.spelling)) return recent.index;
    const int index = LookUpFolded(name.data(), n);
    // Before the catalogue is built every name is unknown; that is not kept.
    if (TheCatalogue().lookup.GetSize() > 0) {
        std::copy(name.begin(), name.end(), recent.spelling);
        recent.length = static_cast<uint16_t>(n);
        recent.index = static_cast<int16_t>(index);
    }
    return index;
}

int FindBuiltin(const char16_t* name) {
    if (!name) return -1;
    // Measured only as far as a built-in name can go.
    size_t n = 0;
    while (name[n] && n < kMaxNameLength) ++n;
    return FindBuiltin(std::u16string_view(name, n));
}

}  // namespace qorcalc::func
