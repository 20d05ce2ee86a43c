import os

import pytest

EXAMPLES = os.path.join(os.path.dirname(__file__), "..", "..", "examples")


@pytest.fixture
def examples():
    return os.path.abspath(EXAMPLES)
