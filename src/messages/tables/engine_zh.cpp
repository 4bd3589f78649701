// Chinese (Simplified) texts of the engine: its error messages and its
// function catalogue.  The rules of engine_en.cpp hold here too: one "%s"
// in a formatted error text and nothing else, usage texts are argument lists
// without the function name.
#include "table.h"

namespace {

using qorcalc::messages::MessageEntry;

constexpr MessageEntry kTexts[] = {
    // Errors of compiling and calculating a formula.
    {1000, u"函数名未知或格式不正确：“%s”。"},
    {1001, u"“%s”中的数字格式不正确：数字后紧跟了其他字符（如 12a）。"},
    {1003, u"无法计算“%s”：运算符或操作数位置不当或类型不符，比较运算多于一个，"
           u"或函数的参数个数不对、日期无法识别。"},
    {1004, u"无法计算“%s”：有参数不是数字，或超出了函数接受的范围。"},
    {1005, u"无法计算“%s”：混合计算已关闭，数字与文本不能混用。"},
    {1068, u"“%s”中有无效的名称：名称含有不允许的字符（文本值请加引号）。"},
    {1070, u"“%s”中的括号不匹配，或嵌套超过 1024 层。"},
    {1072, u"公式调用的函数执行失败，请检查其参数。"},

    // Errors of a bounded engine and of the host protocol.
    {1300, u"无法计算“%s”：文本值将超过 CALC_MAX_TEXT_LENGTH（16,777,216 个字符）。"},
    {1301, u"公式长度超过 CALC_MAX_FORMULA_LENGTH（2,097,152 个字符）：“%s”。"},
    {1302, u"公式“%s”过大：其表达式树将超过 CALC_MAX_NODES（2,097,152 个节点）。"},
    {1303, u"交给 SetTermValue 的项已不在表达式树中；请回答最近一次 Calculate 返回的项。"},
    {1304, u"调用了 js，但宿主没有声明运行脚本的脚本宿主。"},
    {1305, u"内存不足：操作已放弃。"},
    {1306, u"公式引擎内部发生意外故障：操作已放弃。"},

    // Function categories.
    {1006, u"逻辑"},
    {1007, u"数学"},
    {1008, u"文本"},
    {1009, u"日期和时间"},
};

}  // namespace

QORCALC_MESSAGE_TABLE(engine_zh, Language::Chinese, kTexts)
