"""The Python session of the README works when pasted."""
import doctest
import os
import re

README = os.path.join(os.path.dirname(__file__), "..", "..", "README.md")


def test_readme_session(monkeypatch):
    # The session reads examples/ as it would when pasted in the source tree.
    monkeypatch.chdir(os.path.dirname(README))
    with open(README, encoding="utf-8") as f:
        sessions = re.findall(r"```python\n(>>> .*?)```", f.read(), re.S)
    assert sessions, "no Python session in the README"
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    for number, session in enumerate(sessions):
        runner.run(doctest.DocTestParser().get_doctest(session, {}, f"README {number}", README, 0))
    assert runner.summarize(verbose=False).failed == 0
