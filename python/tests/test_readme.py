"""The Python session of the README works when pasted."""
import doctest
import os
import re

README = os.path.join(os.path.dirname(__file__), "..", "..", "README.md")


def test_readme_session(monkeypatch):
    # The session reads examples/ as it would when pasted in the source tree.
    monkeypatch.chdir(os.path.dirname(README))
    with open(README, encoding="utf-8") as f:
        text = f.read()
    sessions = re.findall(r"```python\n(>>> .*?)```", text, re.S)
    assert sessions, "no Python session in the README"
    parser = doctest.DocTestParser()
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    for number, session in enumerate(sessions):
        test = parser.get_doctest(session, {}, f"README session {number}", README, 0)
        runner.run(test)
    result = runner.summarize(verbose=False)
    assert result.failed == 0
