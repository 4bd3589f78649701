// CFuncMnger: lookup, description, invocation and listing of the built-ins
// and the host's catalogue items.
#include <qorcalc/message_ids.h>
#include <qorcalc/func.h>

#include <qorcalc/api.h>
#include <qorcalc/vek.h>

#include "func/catalogue.h"
#include "func/invoke.h"
#include "support/text.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

using qorcalc::func::ArgumentKeeping;
using qorcalc::func::Invoke;

namespace {

using namespace qorcalc::func;
using qorcalc::detail::MessageText;
using qorcalc::detail::TranslateText;
using qorcalc::support::wcsicmpAscii16;

constexpr uint32_t kMsgUnknownFunction = CALC_MSG_BAD_FUNCTION_NAME;

// Host items are matched on their names ignoring the case of A..Z only, so
// that the same names match under every locale: a Turkish one would otherwise
// make "D\u0130V" (dotted capital I) the same name as "div".
bool SameName(const CString& a, const char16_t* b) { return wcsicmpAscii16(a, b) == 0; }

// FLAG_RESTRICTED without FLAG_EXEMPT.
bool IsRestricted(const CFuncItem& item) {
    return (item.m_nFlags & FUNCFLAG_RESTRICTED) && !(item.m_nFlags & FUNCFLAG_EXEMPT);
}

// The key of a host item's named category.
CString NamedCategory(const CFuncItem& item) {
    CString key;
    key.Format(u"%s\\%s", item.m_strGroup, item.m_strCategory);
    return key;
}

}  // namespace

CFuncMnger* CFuncMnger::NewFuncMnger() {
    // The constructor may build the catalogue, which allocates; a manager
    // without it is of no use to a calculator.
    return qorcalc::detail::Guarded(u"CFuncMnger::NewFuncMnger", static_cast<CFuncMnger*>(nullptr), [] {
        auto* manager = new CFuncMnger();
        if (CatalogueBuildCount() > 0) return manager;
        delete manager;  // its constructor recorded why the catalogue is missing
        return static_cast<CFuncMnger*>(nullptr);
    });
}

CFuncMnger::CFuncMnger() {
    qorcalc::detail::Guarded(u"CFuncMnger::CFuncMnger", 0, [] { return EnsureCatalogue(), 1; });
}

CFuncMnger::~CFuncMnger() {
    for (void* item : m_arrItems) delete static_cast<CFuncItem*>(item);
    m_arrItems.RemoveAll();
}

int CFuncMnger::AddItem(CFuncItem* item) {
    // -1 when the list cannot grow; the item then stays the host's.
    return qorcalc::detail::Guarded(u"CFuncMnger::AddItem", -1, [&] { return kHostIndexBase + m_arrItems.Add(item); });
}

CFuncItem* CFuncMnger::HostItem(int position) const { return static_cast<CFuncItem*>(m_arrItems[position]); }

int CFuncMnger::FindHostItem(const char16_t* name) const {
    if (!name) return -1;
    for (int i = 0; i < m_arrItems.GetSize(); ++i)
        if (HostItem(i) && SameName(HostItem(i)->m_strName, name)) return i;
    return -1;
}

int CFuncMnger::Find(const char16_t* name) {
    return qorcalc::detail::Guarded(u"CFuncMnger::Find", -1, [&]() -> int {
        const int builtin = FindBuiltin(name);
        if (builtin >= 0) return builtin;
        const int position = FindHostItem(name);
        return position < 0 ? -1 : kHostIndexBase + position;
    });
}

CFuncItem* CFuncMnger::GetItem(const char16_t* name) {
    return qorcalc::detail::Guarded(u"CFuncMnger::GetItem", static_cast<CFuncItem*>(nullptr), [&]() -> CFuncItem* {
        const int position = FindHostItem(name);
        return position < 0 ? nullptr : HostItem(position);
    });
}

int CFuncMnger::GetFuncInfo(const char16_t* name, CFuncItem& out) {
    return qorcalc::detail::Guarded(u"CFuncMnger::GetFuncInfo", 0, [&]() -> int {
        // Both lookups ignore case already; folding here with the locale could
        // only hide a name.
        CString key(name);
        key.Trim();
        const int builtin = FindBuiltin(key);
        if (builtin >= 0) {
            const CatalogueEntry& e = BuiltinAt(builtin);
            out.m_strName = e.name;
            out.m_nCategoryId = e.categoryId;
            out.m_strCategory = MessageText(static_cast<uint32_t>(e.categoryId));
            out.m_nDescId = e.descId;
            out.m_strDesc = MessageText(static_cast<uint32_t>(e.descId));
            if (e.usageId > 0) out.m_arrUsage.Add(MessageText(static_cast<uint32_t>(e.usageId)));
            out.m_nReturnKind = e.kind;
            return 1;
        }
        const int position = FindHostItem(key);
        if (position < 0) return 0;
        out.Copy(HostItem(position));
        // Ids win over the item's own texts; own texts are translated.
        if (out.m_nCategoryId > 0)
            out.m_strCategory = MessageText(static_cast<uint32_t>(out.m_nCategoryId));
        else
            TranslateText(out.m_strCategory);
        if (out.m_nDescId > 0)
            out.m_strDesc = MessageText(static_cast<uint32_t>(out.m_nDescId));
        else
            TranslateText(out.m_strDesc);
        for (uint32_t id : out.m_arrUsageIds) out.m_arrUsage.Add(MessageText(id));
        for (CString& line : out.m_arrUsage) TranslateText(line);
        TranslateText(out.m_strText1);
        TranslateText(out.m_strText2);
        return 1;
    });
}

int CFuncMnger::Call(CFuncPara& para, int bCheck, int index) { return CallInto(para, bCheck, index, nullptr); }

int CFuncMnger::CallInto(CFuncPara& para, int bCheck, int index, bool* text) {
    return qorcalc::detail::Guarded(u"CFuncMnger::Call", static_cast<int>(CALL_FAILED), [&]() -> int {
        const CString& name = para.m_strFuncName;  // read only before the function runs
        para.m_strResult.Empty();
        para.m_hHostWnd = m_hHostWnd;
        para.m_nHostMsg = m_nHostMsg;

        if (index < 0 || index >= kBuiltinCount) index = FindBuiltin(name);
        if (index >= 0) {
            const CatalogueEntry& e = BuiltinAt(index);
            return Invoke(para, e.fn, e.kind, ArgumentKeeping::ByFunction, text);
        }

        const int position = FindHostItem(name);
        if (position < 0) {
            qorcalc::detail::ReportMessage(kMsgUnknownFunction, name);
            return CALL_NOT_FOUND;
        }
        const CFuncItem& item = *HostItem(position);
        if (bCheck && IsRestricted(item) && !m_bPermitRestricted) return CALL_REFUSED;
        if (!item.m_pfnCall) {
            CVek::Error(u"");
            return CALL_NOT_FOUND;
        }
        return Invoke(para, item.m_pfnCall, item.m_nReturnKind, ArgumentKeeping::Before, text);
    });
}

int CFuncMnger::GetFuncsOfCategory(int category, CPtrArray& out) {
    return qorcalc::detail::Guarded(u"CFuncMnger::GetFuncsOfCategory", 0, [&]() -> int {
        if (category < 0) return 0;
        // Number the categories afresh: the distinct ids ascending, then the
        // distinct named categories (case ignored) in list order.
        std::vector<int> ids;
        for (int i = 0; i < kBuiltinCount; ++i) ids.push_back(BuiltinAt(i).categoryId);
        std::vector<CString> named;
        for (int i = 0; i < m_arrItems.GetSize(); ++i) {
            const CFuncItem* item = HostItem(i);
            if (!item) continue;
            if (item->m_nCategoryId > 0) {
                ids.push_back(item->m_nCategoryId);
                continue;
            }
            CString key = NamedCategory(*item);
            const bool known = std::any_of(named.begin(), named.end(),
                                           [&](const CString& k) { return k.CompareNoCase(key) == 0; });
            if (!known) named.push_back(std::move(key));
        }
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());

        auto add = [&](const char16_t* name) {
            auto info = std::make_unique<CFuncItem>();
            if (!GetFuncInfo(name, *info)) return;
            out.Add(info.get());
            info.release();
        };
        const size_t number = static_cast<size_t>(category);
        if (number < ids.size()) {
            const int id = ids[number];
            for (int i = 0; i < kBuiltinCount; ++i)
                if (BuiltinAt(i).categoryId == id) add(BuiltinAt(i).name);
            for (int i = 0; i < m_arrItems.GetSize(); ++i)
                if (HostItem(i) && HostItem(i)->m_nCategoryId == id) add(HostItem(i)->m_strName);
            return 1;
        }
        if (number - ids.size() < named.size()) {
            // Matched exactly here, although the numbering ignores case.
            const CString& key = named[number - ids.size()];
            for (int i = 0; i < m_arrItems.GetSize(); ++i) {
                const CFuncItem* item = HostItem(i);
                if (item && item->m_nCategoryId <= 0 && NamedCategory(*item) == key) add(item->m_strName);
            }
            return 1;
        }
        return 0;
    });
}
