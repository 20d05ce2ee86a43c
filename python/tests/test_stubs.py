"""The type stubs and docstrings describe what the module really has."""
import ast
import inspect
import os

import pi
from pi import _core

STUB = os.path.join(os.path.dirname(pi.__file__), "_core.pyi")


def test_stubs_and_docstrings_describe_the_module():
    with open(STUB, encoding="utf-8") as f:
        tree = ast.parse(f.read())
    top, members = set(), {}
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)) and not node.name.startswith("_"):
            top.add(node.name)
        if isinstance(node, ast.ClassDef):
            members[node.name] = {item.name for item in node.body
                                  if isinstance(item, ast.FunctionDef)}
            members[node.name] |= {item.target.id for item in node.body
                                   if isinstance(item, ast.AnnAssign)}
    assert top == {n for n in dir(_core) if not n.startswith("_")}
    for name, declared in members.items():
        if name.startswith("_") or not hasattr(_core, name):
            continue
        cls = getattr(_core, name)
        base = "_ListView" if name.endswith("List") else "_Record"
        stubbed = declared | (members[base] if name not in ("CConfigFile", "Change") else set())
        if issubclass(cls, _core.CObject) and cls is not _core.CObject:
            stubbed |= members["CObject"]
        real = {n for n in dir(cls) if not n.startswith("_")}
        assert real - stubbed == set(), name
        assert {n for n in stubbed if not n.startswith("_")} - real == set(), name
    for name in dir(_core):  # and every name has a docstring
        assert name.startswith("_") or inspect.getdoc(getattr(_core, name)), name
