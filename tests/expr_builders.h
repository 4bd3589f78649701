// Hand-built expression trees for the node and evaluation tests: a list is
// written as space-separated tokens, each an operator spelling or a literal
// or name token, and given to the node's own classifiers.
#pragma once

#include <qorcalc/node.h>

#include <memory>
#include <string>
#include <string_view>

namespace exprtest {

inline CString W(std::string_view utf8) { return CString::FromUtf8(utf8); }
inline std::string U8(const CString& s) { return s.ToUtf8(); }

// Appends one node for `token` to `list`; its position is `position`.
inline CCalcNode* AddToken(CCalcNode* list, std::string_view token, int position) {
    auto* node = new CCalcNode(list);
    node->SetPosition(position);
    if (node->ClassifyOperator(W(token))) {
        node->SetKind(NodeOperator);
    } else {
        node->ClassifyToken(W(token));
    }
    list->Add(node);
    return node;
}

// Appends the space-separated tokens of `tokens`; positions count tokens.
inline CCalcNode* AddTokens(CCalcNode* list, std::string_view tokens) {
    int position = list->GetCount();
    size_t start = 0;
    while (start < tokens.size()) {
        size_t end = tokens.find(' ', start);
        if (end == std::string_view::npos) end = tokens.size();
        if (end > start) AddToken(list, tokens.substr(start, end - start), position++);
        start = end + 1;
    }
    return list;
}

inline CCalcNode* AddChild(CCalcNode* parent, uint8_t kind, std::string_view text = {}) {
    auto* node = new CCalcNode(parent, kind);
    if (!text.empty()) node->AssignText(W(text));
    parent->Add(node);
    return node;
}

// A call `name` with one argument list per entry of `args`.
inline CCalcNode* AddCall(CCalcNode* parent, std::string_view name, std::initializer_list<std::string_view> args) {
    CCalcNode* call = AddChild(parent, NodeFunction, name);
    for (std::string_view arg : args) AddTokens(AddChild(call, NodeArgument), arg);
    return call;
}

inline std::unique_ptr<CCalcNode> Root(std::string_view tokens = {}) {
    auto root = std::make_unique<CCalcNode>(nullptr, NodeRoot);
    AddTokens(root.get(), tokens);
    return root;
}

inline std::string Formula(CCalcNode* node) {
    CString out;
    node->GetFormula(out);
    return U8(out);
}

inline std::string Text(CCalcNode* node, int quote) {
    CString out;
    node->GetText(out, quote);
    return U8(out);
}

// `depth` groups nested in one another around the list 1 + 2; `innermost`
// receives that list.
inline std::unique_ptr<CCalcNode> NestedGroups(int depth, CCalcNode** innermost = nullptr) {
    auto root = Root();
    CCalcNode* list = root.get();
    for (int i = 0; i < depth; ++i) list = AddChild(list, NodeGroup);
    AddTokens(list, "1 + 2");
    if (innermost) *innermost = list;
    return root;
}

}  // namespace exprtest
