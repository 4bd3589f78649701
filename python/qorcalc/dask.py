"""Report columns over a Dask dataframe.

    >>> import qorcalc.dask
    >>> out = qorcalc.dask.apply(frame, {"amount": "round(qty * price, 2)"})
    >>> out.compute()

``apply`` maps ``qorcalc.evaluate_table`` over the partitions: every row is
calculated as ``qorcalc report`` calculates a record (fields are numbers when
they read as numbers, missing ones empty, each column may use the columns
before it), wherever the cluster runs the partition.  Computed columns have
the object dtype: int, float or str values, and a FormulaError in a cell
whose calculation failed.
"""

import pandas as pd

import qorcalc


def apply(dataframe, formulas, functions=None, lang="en"):
    """A new Dask dataframe: ``dataframe`` with the computed columns added.

    The formulas are compiled here first, so one that does not compile
    raises FormulaError at once rather than on a worker."""
    pairs = list(formulas.items()) if hasattr(formulas, "items") else [tuple(p) for p in formulas]
    for _, formula in pairs:
        qorcalc.compile(formula, functions, lang)
    meta = dataframe._meta.copy()
    for name, _ in pairs:
        meta[name] = pd.Series(dtype=object)
    return dataframe.map_partitions(_partition, pairs, functions, lang, meta=meta)


def _partition(frame, pairs, functions, lang):
    out = qorcalc.evaluate_table(pairs, frame, jobs=1, functions=functions, lang=lang)
    for name, _ in pairs:
        out[name] = out[name].astype(object)
    return out
