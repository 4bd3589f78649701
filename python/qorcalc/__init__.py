"""QORCalc formulas from Python.

    >>> import qorcalc
    >>> qorcalc.evaluate("round(qty * price, 2)", {"qty": 3, "price": 2.675})
    8.03

Values going in: int and float (and bool, as 1 and 0) are numbers, str is a
text, None an empty text, a compiled Formula stands for its formula text,
substituted as written (so ``a * 2`` with ``a`` as ``3 + 4`` is 11: bracket
a formula that must stay whole).  Results
coming out: int or float for a number, str for a text; ``evaluate_text``
gives the engine's own text of the value.  Failures raise FormulaError with
the message ``id``, the character ``position`` in the formula (compile
failures; else -1) and the ``message`` in the language asked for.

``evaluate_table`` computes report columns over many rows, as the ``qorcalc
report`` command does: a field is a number when its text reads as one, else a
text; a missing field (None, NaN, an absent key) is empty; every column may
use the fields and the columns computed before it.
"""

from . import _qorcalc
from ._qorcalc import FormulaError, functions

__all__ = ["evaluate", "evaluate_text", "compile", "Formula", "FormulaError",
           "evaluate_table", "functions"]


class Formula:
    """A compiled formula: compile once, evaluate for many sets of names."""

    __slots__ = ("_compiled",)

    def __init__(self, formula, functions=None, lang="en"):
        self._compiled = _qorcalc.Formula(formula, functions, lang)

    @property
    def text(self):
        return self._compiled.text

    @property
    def names(self):
        """The names the formula asks for, first spelling kept."""
        return self._compiled.names

    def evaluate(self, names=None, /, **kwargs):
        """The value for names given as a mapping, a callable or keywords."""
        return self._compiled._evaluate(_prepared(_names(names, kwargs)))

    def evaluate_text(self, names=None, /, **kwargs):
        """The engine's text of the value."""
        return self._compiled._evaluate_text(_prepared(_names(names, kwargs)))

    def __repr__(self):
        return f"qorcalc.Formula({self.text!r})"


def _names(names, keywords):
    if names is None:
        return keywords
    if keywords:
        if callable(names):
            raise TypeError("give names as a callable or as keywords, not both")
        return {**names, **keywords}
    return names


def _raw(value):
    # A Formula given as a name's value stands for its formula text.
    return value._compiled if isinstance(value, Formula) else value


def _prepared(names):
    if callable(names):
        return lambda name: _raw(names(name))
    if names is None:
        return None
    return {key: _raw(value) for key, value in names.items()}


def compile(formula, functions=None, lang="en"):
    """Compiles ``formula``; raises FormulaError when it does not compile.

    ``functions`` maps the names of functions the engine does not know to
    Python callables; they get the evaluated arguments (numbers as int or
    float, the others as str) and return a number, a str or None.  It may
    instead be one callable taking the function's name and the list of its
    arguments, asked for every function the engine does not know; it raises
    KeyError for one it does not know either."""
    return Formula(formula, functions, lang)


def evaluate(formula, names=None, functions=None, lang="en"):
    """The value of ``formula``: int or float for a number, str for a text.

    ``names`` is a mapping or a callable taking a name (raising KeyError for
    a name it does not know); the callable is asked once for each name the
    calculation reaches, including the names of a Formula it answers with.
    ``functions`` is as for ``compile``."""
    return Formula(formula, functions, lang)._compiled._evaluate(_prepared(names))


def evaluate_text(formula, names=None, functions=None, lang="en"):
    """The engine's text of the value of ``formula``."""
    return Formula(formula, functions, lang)._compiled._evaluate_text(_prepared(names))


def evaluate_table(formulas, rows, jobs=1, functions=None, lang="en"):
    """Report columns for every row.

    ``formulas`` maps column names to formulas (in order: a column may use
    the columns before it), or is a list of (column, formula) pairs.
    ``rows`` is a list of dicts or a pandas DataFrame.  The formulas compile
    once (a formula that does not compile raises FormulaError); ``jobs``
    threads calculate, without the GIL.  Returns the rows with the computed
    columns added: a list of new dicts, or a new DataFrame.  A cell whose
    calculation failed holds its FormulaError instead of a value."""
    pairs = list(formulas.items()) if hasattr(formulas, "items") else [tuple(p) for p in formulas]
    if not _is_dataframe(rows):
        return _qorcalc._evaluate_records(pairs, rows, int(jobs), functions, lang)
    columns = [(str(name), _column_values(rows[name])) for name in rows.columns]
    computed = _qorcalc._evaluate_columns(pairs, columns, len(rows), int(jobs), functions, lang)
    out = rows.copy()
    for (name, _), values in zip(pairs, computed):
        out[name] = values
    return out


def _is_dataframe(rows):
    return type(rows).__name__ == "DataFrame" and hasattr(rows, "columns") and hasattr(rows, "dtypes")


def _column_values(series):
    # Numeric columns go over as arrays; anything else as Python objects.
    if series.dtype.kind in "fiub":
        return series.to_numpy()
    return series.tolist()
