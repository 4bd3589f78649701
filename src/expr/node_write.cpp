// Writing a subtree back to formula text, in its two forms.  The walk keeps
// its own stack of open lists, so any depth can be written.
#include <qorcalc/api.h>
#include <qorcalc/node.h>

#include <qorcalc/utility.h>

namespace {

// In the converted form a "+" beside a string that is empty or not a
// number is written as the text-joining operator.
bool IsTextOperand(CCalcNode* node) {
    return node && node->GetKind() == NodeString &&
           (node->RawText().IsEmpty() || !CUtilityCalc::IsPureNumber(node->RawText(), 0));
}

}  // namespace

struct CCalcNode::WriteFrame {
    CCalcNode* node;
    size_t next;  // index of the next child to write
};

// Writes the node's own part; `opened` tells whether it is a list or call
// whose children follow (and whose closing part is still to come).
void CCalcNode::WriteSelf(CWriter& writer, bool converted, bool nextToText, bool& opened) {
    opened = false;
    CString text;
    switch (m_kind) {
    case NodeFunction:
        writer.Write(m_text);
        writer.Write(u'(');
        opened = true;
        break;
    case NodeGroup:
        writer.Write(u'(');
        opened = true;
        break;
    case NodeRoot:
    case NodeArgument:
        opened = true;
        break;
    case NodeNumber: {
        GetText(text, 0);
        // A negative operand after the first one is bracketed so that the
        // text reads back as the same operand, not as a minus operator.
        const bool bracket = text.GetAt(0) == u'-' && m_pParent && !m_pParent->m_children.empty() &&
                             m_pParent->m_children.front() != this;
        if (bracket) writer.Write(u'(');
        writer.Write(text);
        if (bracket) writer.Write(u')');
        break;
    }
    case NodeString:
        if (converted) {
            writer.Write(u'"');
            writer.Write(m_text);
            writer.Write(u'"');
        } else {
            GetText(text, 1);
            writer.Write(text);
        }
        break;
    case NodeName:
    case NodeOperator:
        if (converted && nextToText && m_kind == NodeOperator && m_text == u"+") {
            writer.Write(u" & ");
        } else {
            GetText(text, 1);
            writer.Write(text);
        }
        break;
    default:
        break;
    }
}

void CCalcNode::WriteTree(CWriter& writer, bool converted, bool nextToText) {
    bool opened = false;
    WriteSelf(writer, converted, nextToText, opened);
    if (!opened) return;
    std::vector<WriteFrame> open{{this, 0}};
    while (!open.empty()) {
        WriteFrame& top = open.back();
        CCalcNode* list = top.node;
        const std::vector<CCalcNode*>& children = list->m_children;
        if (top.next >= children.size()) {
            if (list->m_kind == NodeFunction || list->m_kind == NodeGroup) writer.Write(u')');
            open.pop_back();
            continue;
        }
        const size_t i = top.next++;
        if (i > 0 && list->m_kind == NodeFunction) writer.Write(u',');
        bool childNextToText = false;
        if (converted) {
            childNextToText = (i > 0 && IsTextOperand(children[i - 1])) ||
                              (i + 1 < children.size() && IsTextOperand(children[i + 1]));
        }
        CCalcNode* child = children[i];
        child->WriteSelf(writer, converted, childNextToText, opened);
        if (opened) open.push_back({child, 0});  // invalidates `top`
    }
}

// A writer that fails part way keeps what was written until then; the
// failure is recorded.
void CCalcNode::Write(CWriter& writer) {
    qorcalc::detail::ShieldedInto(u"CCalcNode::Write", [&] { WriteTree(writer, false, false); });
}

void CCalcNode::WriteConverted(CWriter& writer, int nextToText) {
    qorcalc::detail::ShieldedInto(u"CCalcNode::WriteConverted", [&] { WriteTree(writer, true, nextToText != 0); });
}

void CCalcNode::GetFormula(CString& out) {
    qorcalc::detail::ShieldedInto(u"CCalcNode::GetFormula", [&] {
        CStringBuilder builder(512);
        WriteTree(builder, false, false);
        builder.GetString(out);
    }, out);
}
