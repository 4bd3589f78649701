# The module as a Python user calls it: evaluate, compile, errors, host
# functions, the function reference.
import threading

import pytest

import qorcalc
from conftest import case_id, shared_cases, tool_eval


@pytest.mark.parametrize("formula, names, expected", [
    ("1 + 2", None, 3),
    ("qty * price", {"qty": 3, "price": 2.5}, 7.5),
    ("qty * 2", {"qty": -4}, -8),
    ("n * 1", {"n": 12345678901234}, 12345678901234),
    ("a + 1", {"a": True}, 2),
    ("left(s, 2)", {"s": "12345"}, "12"),           # a str is a text even when it reads as a number
    ("s + 'x'", {"s": None}, "x"),                   # None is an empty text
    ("s + '!'", {"s": "中文"}, "中文!"),
    # A Formula is substituted as written, like a formula-valued name anywhere.
    ("a * 2", {"a": qorcalc.compile("3 + 4")}, 11),
    ("a * 2", {"a": qorcalc.compile("(3 + 4)")}, 14),
    ("QTY * 2", {"qty": 5}, 10),                     # names ignore ASCII case
])
def test_evaluate_values(formula, names, expected):
    value = qorcalc.evaluate(formula, names)
    assert value == expected
    assert type(value) is type(expected) or isinstance(expected, bool)


def test_result_types_and_value_text():
    assert isinstance(qorcalc.evaluate("7 / 2"), float)
    assert isinstance(qorcalc.evaluate("6 / 2"), int)
    assert qorcalc.evaluate_text("6 / 2") == "3"
    assert qorcalc.evaluate_text("'abc' + 'd'") == "abcd"
    assert qorcalc.evaluate_text("a * 2", {"a": 0.5}) == qorcalc.compile("a * 2").evaluate_text(a=0.5)


def test_names_from_a_callable_are_asked_once_each():
    asked = []

    def lookup(name):
        asked.append(name)
        if name == "unknown":
            raise KeyError(name)
        return {"qty": 3, "price": 4}[name]

    assert qorcalc.evaluate("qty * price + qty", lookup) == 15
    assert sorted(asked) == ["price", "qty"]
    with pytest.raises(qorcalc.FormulaError) as error:
        qorcalc.evaluate("unknown + 1", lookup)
    assert error.value.id == 2000


def test_a_failing_callable_for_names_raises_its_own_error():
    def lookup(name):
        raise RuntimeError("database is down")

    with pytest.raises(RuntimeError, match="database is down"):
        qorcalc.evaluate("a + 1", lookup)


@pytest.mark.parametrize("formula, names, error_id, position", [
    ("1 +", None, None, True),
    ("(1 + 2", None, None, True),
    ("missing * 2", None, 2000, False),
    ("nosuch(1)", None, 2001, False),
])
def test_errors_carry_id_position_and_message(formula, names, error_id, position):
    with pytest.raises(qorcalc.FormulaError) as raised:
        qorcalc.evaluate(formula, names)
    error = raised.value
    if error_id is not None:
        assert error.id == error_id
    assert (error.position >= 0) == position
    assert error.message and str(error.id) in str(error)
    assert isinstance(error, Exception)


def test_compile_errors_raise_at_compile_and_messages_follow_the_language():
    with pytest.raises(qorcalc.FormulaError) as english:
        qorcalc.compile("1 +")
    with pytest.raises(qorcalc.FormulaError) as chinese:
        qorcalc.compile("1 +", lang="zh")
    assert english.value.id == chinese.value.id
    assert english.value.position == chinese.value.position
    assert english.value.message != chinese.value.message
    with pytest.raises(ValueError):
        qorcalc.compile("1", lang="fr")


def test_compiled_formula_is_reused_with_keywords_and_mappings():
    formula = qorcalc.compile("round(qty * price, 2)")
    assert formula.names == ["qty", "price"]
    assert [formula.evaluate(qty=q, price=1.005) for q in (1, 2, 3)] == [
        qorcalc.evaluate("round(qty * price, 2)", {"qty": q, "price": 1.005}) for q in (1, 2, 3)]
    assert formula.evaluate({"qty": 2}, price=3) == 6
    assert "round(qty * price, 2)" in repr(formula)


@pytest.mark.parametrize("bad", [[1, 2], object(), float("nan")])
def test_unusable_name_values_are_refused(bad):
    with pytest.raises((TypeError, ValueError)):
        qorcalc.evaluate("a", {"a": bad})


def test_host_functions():
    functions = {
        "double": lambda x: x * 2,
        "greet": lambda name: f"hello {name}",
        "fail": lambda: 1 / 0,
        "nothing": lambda: None,
    }
    assert qorcalc.evaluate("double(21)", functions=functions) == 42
    assert qorcalc.evaluate("double(a) + 1", {"a": 1.25}, functions) == 3.5
    assert qorcalc.evaluate("greet('Lin')", functions=functions) == "hello Lin"
    assert qorcalc.evaluate("nothing() + 'x'", functions=functions) == "x"
    with pytest.raises(qorcalc.FormulaError) as error:
        qorcalc.evaluate("fail()", functions=functions)
    assert error.value.id == 2003 and "division by zero" in error.value.message
    # A built-in of the same name wins over the host's.
    assert qorcalc.evaluate("left('abc', 1)", functions={"left": lambda *a: "host"}) == "a"
    with pytest.raises(TypeError):
        qorcalc.evaluate("f()", functions={"f": 3})


PRICES = {"apple": 1.5, "pear": 2}


def catalogue(name, args):
    """A function source: any function it knows, by its name."""
    if name.lower() == "price":
        return PRICES[args[0]]                 # a KeyError here too says "unknown"
    if name == "Describe":
        return f"{len(args)}:" + ",".join(f"{type(a).__name__}={a}" for a in args)
    if name == "broken":
        raise RuntimeError("catalogue offline")
    raise KeyError(name)


@pytest.mark.parametrize("formula, functions, expected", [
    ("price('apple') * 2", catalogue, 3),
    ("PRICE('pear') + 0.5", catalogue, 2.5),
    ("Describe(1, 2.5, 'x', '7')", catalogue, "4:int=1,float=2.5,str=x,int=7"),
    ("Describe()", catalogue, "0:"),
    ("left('abc', 1)", catalogue, "a"),                                  # built-ins are never asked for
    ("twice(price('apple'))", {"twice": lambda x: x * 2}, 2001),          # a mapping knows only its names
    ("price('plum')", catalogue, 2001),
    ("nosuch(1)", catalogue, 2001),
    ("broken()", catalogue, 2003),
])
def test_functions_from_a_callable(formula, functions, expected):
    if isinstance(expected, int) and expected > 2000:                   # an error id
        with pytest.raises(qorcalc.FormulaError) as error:
            qorcalc.evaluate(formula, functions=functions)
        assert error.value.id == expected
        return
    assert qorcalc.evaluate(formula, functions=functions) == expected
    assert qorcalc.compile(formula, functions).evaluate() == expected


def test_function_source_failure_message_is_the_exception():
    with pytest.raises(qorcalc.FormulaError) as error:
        qorcalc.evaluate("broken()", functions=catalogue)
    assert "catalogue offline" in error.value.message


# A callable for names is asked for what the calculation reaches, once each,
# and a Formula it answers with asks for its own names in turn.
@pytest.mark.parametrize("formula, answers, expected, asked", [
    ("qty * price", {"qty": 3, "price": 4}, 12, ["qty", "price"]),
    ("total + 1", {"total": qorcalc.compile("(qty * 2)"), "qty": 5}, 11, ["total", "qty"]),
    ("if(qty > 1, 'many', never)", {"qty": 3}, "many", ["qty"]),
    ("Qty + qty + QTY", {"Qty": 2}, 6, ["Qty"]),
    ("a + 1", {"a": qorcalc.compile("b"), "b": qorcalc.compile("a")}, 2002, ["a", "b"]),
    ("ghost * 2", {}, 2000, ["ghost"]),
])
def test_names_from_a_callable(formula, answers, expected, asked):
    seen = []

    def lookup(name):
        seen.append(name)
        return answers[name]

    if isinstance(expected, int) and expected >= 2000:
        with pytest.raises(qorcalc.FormulaError) as error:
            qorcalc.evaluate(formula, lookup)
        assert error.value.id == expected
    else:
        assert qorcalc.evaluate(formula, lookup) == expected
    assert seen == asked


def test_formula_is_shared_across_threads():
    formula = qorcalc.compile("n * n")
    results = {}

    def work(start):
        results[start] = [formula.evaluate(n=n) for n in range(start, start + 200)]

    threads = [threading.Thread(target=work, args=(s,)) for s in (0, 1000, 2000)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for start, values in results.items():
        assert values == [n * n for n in range(start, start + 200)]


@pytest.mark.parametrize("lang", ["en", "zh"])
def test_function_reference(lang):
    reference = qorcalc.functions(lang)
    names = {entry["name"].lower() for entry in reference}
    assert {"round", "left", "if", "rmb", "englishnum"} <= names
    assert len(reference) == 66
    for entry in reference:
        assert entry["description"] and entry["category"] and isinstance(entry["usage"], list)


def test_function_reference_languages_differ_in_text_only():
    english, chinese = qorcalc.functions("en"), qorcalc.functions("zh")
    assert [e["name"] for e in english] == [e["name"] for e in chinese]
    assert [e["description"] for e in english] != [e["description"] for e in chinese]


# The shared table: the module, with names as a mapping and as a callable,
# and `qorcalc eval --json` agree with the expected value or error id of
# every case.
@pytest.mark.parametrize("case", shared_cases(), ids=case_id)
@pytest.mark.parametrize("as_callable", [False, True], ids=["mapping", "callable"])
def test_shared_cases(case, as_callable, tool):
    eval_line = tool_eval(case["formula"], case["names"])
    names = case["names"].__getitem__ if as_callable else case["names"]
    if "error" in case:
        with pytest.raises(qorcalc.FormulaError) as error:
            qorcalc.evaluate(case["formula"], names)
        assert error.value.id == case["error"]
        assert not eval_line["ok"] and eval_line["error"]["id"] == case["error"]
        assert eval_line["error"]["position"] == error.value.position
        return
    text = qorcalc.evaluate_text(case["formula"], names)
    value = qorcalc.evaluate(case["formula"], names)
    assert text == case["value"]
    assert eval_line["ok"] and (eval_line["value"], eval_line["kind"]) == (case["value"], case["kind"])
    if case["kind"] == "number":
        assert isinstance(value, (int, float)) and value == float(case["value"])
    else:
        assert value == case["value"]
