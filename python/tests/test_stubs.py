"""The type stubs and docstrings describe what the module really has."""
import ast
import inspect
import os

import pi
from pi import _core

STUB = os.path.join(os.path.dirname(pi.__file__), "_core.pyi")


def stub_names():
    with open(STUB, encoding="utf-8") as f:
        tree = ast.parse(f.read())
    top, members = set(), {}
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)) and not node.name.startswith("_"):
            top.add(node.name)
        if isinstance(node, ast.ClassDef):
            names = set()
            for item in node.body:
                if isinstance(item, ast.FunctionDef):
                    names.add(item.name)
                elif isinstance(item, ast.AnnAssign) and isinstance(item.target, ast.Name):
                    names.add(item.target.id)
            members[node.name] = names
    return top, members


def test_stub_names_match_the_module():
    top, _ = stub_names()
    public = {n for n in dir(_core) if not n.startswith("_")}
    assert top == public


def test_stub_members_match_the_classes():
    _, members = stub_names()
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


def test_docstrings_are_there():
    assert "value" in pi.CProperty.__doc__ and "set_" in pi.CProperty.__doc__
    assert "scope" in pi.CConfigFile.__doc__
    for name in dir(_core):
        item = getattr(_core, name)
        if name.startswith("_"):
            continue
        assert inspect.getdoc(item), name
