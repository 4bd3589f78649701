// Chinese texts of the host layer (2000..2099: names, functions, cycles,
// scripts) and of the qorcalc tool (2100..2199: files, CSV, formula files,
// usage, the REPL).  The host layer formats them itself: "%s" stands for its
// arguments in order, and both languages keep that order.
#include "table.h"

namespace {

using qorcalc::messages::MessageEntry;

constexpr MessageEntry kTexts[] = {
    {2000, u"未知名称 %s：它没有值"},
    {2001, u"未知函数 %s"},
    {2002, u"%s 引用了自身：%s"},
    {2003, u"函数 %s 执行失败：%s"},
    {2004, u"函数 %s 被拒绝执行"},
    {2005, u"文本不是有效的 UTF-8"},
    {2006, u"%s 没有值，因为它自身的计算失败：%s"},
    {2010, u"js：脚本出错：%s"},
    {2011, u"js：脚本运行超过 %s 毫秒，已被停止"},
    {2012, u"js：脚本所需内存超过 %s MB，已被停止"},
    {2100, u"无法打开 %s：%s"},
    {2101, u"%s 是空的：第一行必须是列名"},
    {2102, u"%s 第 %s 行：有 %s 个字段，而标题行有 %s 个"},
    {2103, u"%s 第 %s 行：文本不是有效的 UTF-8"},
    {2104, u"%s 第 %s 行：带引号的字段没有结束"},
    {2105, u"%s 第 %s 行第 %s 列：应为“列名 = 公式”"},
    {2106, u"%s 第 %s 行第 %s 列：列 %s 已经定义过"},
    {2107, u"%s 第 %s 行第 %s 列：%s"},
    {2108, u"%s 中没有公式"},
    {2109, u"共 %s 个单元格计算失败（共计算 %s 个）"},
    {2110, u"  %s：%s 个失败，第一个在第 %s 行：%s"},
    {2111, u"用法错误：%s"},
    {2112,
     u"用法：\n"
     u"  qorcalc eval [--json] [--var 名称=值]... [--format 字节] [--lang en|zh] 公式...\n"
     u"  qorcalc repl [--lang en|zh]\n"
     u"  qorcalc report 数据.csv 公式文件 [--csv|--json|--table] [--jobs N] [--lang en|zh]\n"
     u"  qorcalc funcs [类别] [--lang en|zh]\n"
     u"\n"
     u"eval     计算每个公式；--var 为名称提供值（值按原样理解：\n"
     u"         'hi' 是文本，12.5 是数字，b+1 是公式）\n"
     u"repl     交互式计算公式（:help 列出命令）\n"
     u"report   对 CSV 文件的每条记录计算公式文件中的“列名 = 公式”行\n"
     u"funcs    列出内置函数，全部或某一类别\n"
     u"\n"
     u"退出状态：0 全部成功，1 有失败，2 用法错误。\n"},
    {2113, u"--var 需要 名称=值，而不是 %s"},
    {2114, u"--jobs 需要 1 到 %s 之间的数字"},
    {2115, u"未知类别 %s；可用类别：%s"},
    {2116,
     u"输入公式即可计算，或输入命令：\n"
     u"  :set 名称 = 值       为名称赋值（按原样理解：'hi'、12.5、b+1）\n"
     u"  :vars               列出名称及其值\n"
     u"  :tree 公式          显示编译后的树以及写回的公式\n"
     u"  :funcs [类别]       列出内置函数\n"
     u"  :lang [en|zh]       显示或切换语言\n"
     u"  :help               显示本说明\n"
     u"  :quit               退出（或按 Ctrl-D）\n"},
    {2117, u"未知命令 %s；:help 列出所有命令"},
    {2118, u":set 需要 名称 = 值"},
    {2119, u"还没有为任何名称赋值"},
    {2120, u"语言：%s"},
    {2121, u"%s 不是可用的语言；请用 en 或 zh"},
    {2122, u"--format 需要 0 到 255 之间的数字，而不是 %s"},
    {2123, u"%s：%s"},
    {2124, u"有 %s 个单元格被截短以适应 %s 列宽；用 --csv 或 --json 可看到完整内容"},
};

}  // namespace

QORCALC_MESSAGE_TABLE(host_zh, Language::Chinese, kTexts)
