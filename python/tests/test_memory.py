"""Out-of-memory paths of the value blocks, through the library's test hook."""
import copy
import gc
import os

import pytest

import pi
_testing = getattr(pi._core, "_testing", None)

pytestmark = pytest.mark.skipif(
    _testing is None, reason="needs the test hooks: the module was built without PI_TEST_HOOKS"
)


@pytest.fixture
def hook():
    # Garbage of earlier tests, collected in the middle of a test, would
    # change the live block count a test compares.
    gc.collect()
    _testing.arm()
    try:
        yield _testing
    finally:
        _testing.reset()
        _testing.disarm()


def test_failed_writes_raise_and_keep_what_they_can(hook):
    p = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    p.value = "old"
    obj = pi.CObject()
    obj.Properties.append(p)
    hook.fail_allocations(0)
    with pytest.raises(pi.OutOfMemoryError) as raised:
        p.value = "new text"
    assert raised.value.code == pi.Result.OUT_OF_MEMORY and isinstance(raised.value, MemoryError)
    assert (p.Type, p.DataSize, p.data) == (pi.ValueType.STRING, 9, None)
    # A copy of such a property has neither size nor block, and the old
    # block was released before the allocation failed.
    assert copy.copy(p).DataSize == 0
    hook.fail_allocations(0)
    with pytest.raises(pi.InvalidDataError):
        obj.Properties.append(obj.Properties[0])
    hook.reset()
    assert len(obj.Properties) == 1 and obj.Properties[0].value == "old"


def test_failed_copy_raises_and_leaks_nothing(hook):
    op = pi.COperation()
    op.Properties = [pi.CProperty(pi.PropertyID.ADAPTER_NAME) for _ in range(3)]
    for p, text in zip(op.Properties, "abc"):
        p.value = text
    before = hook.live_blocks()
    hook.fail_allocations(2)  # the third block of the copy fails
    with pytest.raises(pi.InvalidDataError):
        copy.deepcopy(op)
    hook.reset()
    assert hook.live_blocks() == before
    assert copy.deepcopy(op) == op


def test_decoders_and_patch_out_of_memory_leak_nothing(hook, examples):
    before = pi.load(os.path.join(examples, "inventory-before.json"))
    after = pi.load(os.path.join(examples, "inventory-after.json"))
    text, packed, changes = after.to_json(), after.to_msgpack(), pi.diff(before, after)
    live = hook.live_blocks()
    for skip in range(0, 130, 3):
        for read in (lambda: pi.from_json(text), lambda: pi.COperation.from_msgpack(packed)):
            hook.fail_allocations(skip)
            try:
                assert read() == after
            except pi.OutOfMemoryError as error:
                assert error.code == pi.Result.OUT_OF_MEMORY and "memory" in error.text
        hook.fail_allocations(skip)
        try:
            assert pi.patch(before, changes) == after
        except (pi.OutOfMemoryError, pi.InvalidDataError, pi.PatchError) as error:
            # A value of the change list that could not be built is refused
            # as a value that does not read, naming the memory it wanted.
            assert "memory" in error.text or error.code == pi.ExceptionCode.INVALID_DATA
        hook.reset()
        assert hook.live_blocks() == live
