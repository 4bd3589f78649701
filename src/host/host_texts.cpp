// The texts of the host layer's and the qorcalc tool's own messages, in
// English and Chinese.  Ids 2000..2099 are the host layer's (qorcalc/host.h),
// 2100..2199 the tool's (cli/tool_messages.h).
//
// Invariant: every id has a text in both languages, with the same number of
// "%s" in the same order of meaning, so that one argument list serves both.
#include "host/internal.h"

#include <algorithm>
#include <iterator>

namespace qorcalc::host {
namespace {

struct HostMessageText {
    uint32_t id;
    const char* english;
    const char* chinese;
};

// Sorted by id.
constexpr HostMessageText kTexts[] = {
    {2000, "unknown name %s: it has no value", "未知名称 %s：它没有值"},
    {2001, "unknown function %s", "未知函数 %s"},
    {2002, "%s refers to itself: %s", "%s 引用了自身：%s"},
    {2003, "function %s failed: %s", "函数 %s 执行失败：%s"},
    {2004, "function %s was refused", "函数 %s 被拒绝执行"},
    {2005, "the text is not valid UTF-8", "文本不是有效的 UTF-8"},
    {2006, "%s has no value because its own calculation failed: %s", "%s 没有值，因为它自身的计算失败：%s"},
    {2010, "js: the script failed: %s", "js：脚本出错：%s"},
    {2011, "js: the script ran longer than %s ms and was stopped", "js：脚本运行超过 %s 毫秒，已被停止"},
    {2012, "js: the script needed more than %s MB of memory and was stopped",
     "js：脚本所需内存超过 %s MB，已被停止"},

    {2100, "cannot open %s: %s", "无法打开 %s：%s"},
    {2101, "%s is empty: the first line must name the columns", "%s 是空的：第一行必须是列名"},
    {2102, "%s line %s: %s fields where the header has %s", "%s 第 %s 行：有 %s 个字段，而标题行有 %s 个"},
    {2103, "%s line %s: the text is not valid UTF-8", "%s 第 %s 行：文本不是有效的 UTF-8"},
    {2104, "%s line %s: a quoted field is never closed", "%s 第 %s 行：带引号的字段没有结束"},
    {2105, "%s line %s, column %s: expected `column = formula`", "%s 第 %s 行第 %s 列：应为“列名 = 公式”"},
    {2106, "%s line %s, column %s: the column %s is already defined", "%s 第 %s 行第 %s 列：列 %s 已经定义过"},
    {2107, "%s line %s, column %s: %s", "%s 第 %s 行第 %s 列：%s"},
    {2108, "%s holds no formulas", "%s 中没有公式"},
    {2109, "%s of %s calculated cells failed", "共 %s 个单元格计算失败（共计算 %s 个）"},
    {2110, "  %s: %s failed, the first on line %s: %s", "  %s：%s 个失败，第一个在第 %s 行：%s"},
    {2111, "usage error: %s", "用法错误：%s"},
    {2112,
     "usage:\n"
     "  qorcalc eval [--json] [--var NAME=VALUE]... [--format BYTE] [--lang en|zh] FORMULA...\n"
     "  qorcalc repl [--lang en|zh]\n"
     "  qorcalc report DATA.csv FORMULAS [--csv|--json|--table] [--jobs N] [--lang en|zh]\n"
     "  qorcalc funcs [CATEGORY] [--lang en|zh]\n"
     "\n"
     "eval     calculates each formula; --var answers a name (VALUE as written:\n"
     "         'hi' is a text, 12.5 a number, b+1 a formula)\n"
     "repl     calculates formulas as you type them (:help lists its commands)\n"
     "report   calculates the `column = formula` lines of FORMULAS for every\n"
     "         record of the CSV file DATA.csv\n"
     "funcs    lists the built-in functions, all or one category\n"
     "\n"
     "Exit status: 0 all succeeded, 1 something failed, 2 usage error.\n",
     "用法：\n"
     "  qorcalc eval [--json] [--var 名称=值]... [--format 字节] [--lang en|zh] 公式...\n"
     "  qorcalc repl [--lang en|zh]\n"
     "  qorcalc report 数据.csv 公式文件 [--csv|--json|--table] [--jobs N] [--lang en|zh]\n"
     "  qorcalc funcs [类别] [--lang en|zh]\n"
     "\n"
     "eval     计算每个公式；--var 为名称提供值（值按原样理解：\n"
     "         'hi' 是文本，12.5 是数字，b+1 是公式）\n"
     "repl     交互式计算公式（:help 列出命令）\n"
     "report   对 CSV 文件的每条记录计算公式文件中的“列名 = 公式”行\n"
     "funcs    列出内置函数，全部或某一类别\n"
     "\n"
     "退出状态：0 全部成功，1 有失败，2 用法错误。\n"},
    {2113, "--var needs NAME=VALUE, not %s", "--var 需要 名称=值，而不是 %s"},
    {2114, "--jobs needs a number from 1 to %s", "--jobs 需要 1 到 %s 之间的数字"},
    {2115, "unknown category %s; the categories are: %s", "未知类别 %s；可用类别：%s"},
    {2116,
     "Type a formula to calculate it, or a command:\n"
     "  :set NAME = VALUE   give NAME a value (as written: 'hi', 12.5, b+1)\n"
     "  :vars               list the names and their values\n"
     "  :tree FORMULA       show the compiled tree and the formula as written back\n"
     "  :funcs [CATEGORY]   list the built-in functions\n"
     "  :lang [en|zh]       show or change the language\n"
     "  :help               this text\n"
     "  :quit               leave (also Ctrl-D)\n",
     "输入公式即可计算，或输入命令：\n"
     "  :set 名称 = 值       为名称赋值（按原样理解：'hi'、12.5、b+1）\n"
     "  :vars               列出名称及其值\n"
     "  :tree 公式          显示编译后的树以及写回的公式\n"
     "  :funcs [类别]       列出内置函数\n"
     "  :lang [en|zh]       显示或切换语言\n"
     "  :help               显示本说明\n"
     "  :quit               退出（或按 Ctrl-D）\n"},
    {2117, "unknown command %s; :help lists the commands", "未知命令 %s；:help 列出所有命令"},
    {2118, ":set needs NAME = VALUE", ":set 需要 名称 = 值"},
    {2119, "no names have values yet", "还没有为任何名称赋值"},
    {2120, "language: %s", "语言：%s"},
    {2121, "%s is not a language; use en or zh", "%s 不是可用的语言；请用 en 或 zh"},
    {2122, "--format needs a number from 0 to 255, not %s", "--format 需要 0 到 255 之间的数字，而不是 %s"},
    {2123, "%s: %s", "%s：%s"},
};

}  // namespace

std::string HostText(uint32_t id, Language language, const std::vector<std::string>& args) {
    const auto* found = std::lower_bound(std::begin(kTexts), std::end(kTexts), id,
                                         [](const HostMessageText& t, uint32_t key) { return t.id < key; });
    if (found == std::end(kTexts) || found->id != id) return "error " + std::to_string(id);
    const std::string_view format = language == Language::Chinese ? found->chinese : found->english;
    std::string out;
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '%' && i + 1 < format.size() && format[i + 1] == 's') {
            if (next < args.size()) out += args[next];
            ++next;
            ++i;
        } else {
            out += format[i];
        }
    }
    return out;
}

}  // namespace qorcalc::host
