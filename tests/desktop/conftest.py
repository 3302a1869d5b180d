"""Fixtures: desktops that end with the test, and what is checked when they do."""

import pytest

from harness.compositor import make_desktop
from harness.desktop import Settings
from harness.waiting import DEADLINE_SCALE

LIMIT = 120  # seconds for one test, before scaling


def pytest_collection_modifyitems(items):
    for item in items:
        if item.get_closest_marker("timeout") is None:
            item.add_marker(pytest.mark.timeout(LIMIT * DEADLINE_SCALE))


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    outcome = yield
    if call.when == "call":
        item.call_failed = outcome.get_result().failed


@pytest.fixture
def start_desktop(request):
    """Starts a desktop with given settings; see Settings. One GTK warning of a program fails."""
    desktops = []

    def start(**settings):
        name = request.node.nodeid.rpartition("/")[2]
        desktops.append(make_desktop(Settings(**settings), name))
        return desktops[-1]

    yield start
    failed = getattr(request.node, "call_failed", True)
    wrong = []
    for desktop in desktops:
        if failed:
            print(f"evidence: {desktop.keep_evidence()}")
        wrong += desktop.finish()
    assert not wrong, "\n".join(wrong)


@pytest.fixture
def desktop(start_desktop):
    """The usual desktop: 1920x1080, openbox, a printer service that has nothing to report."""
    return start_desktop()
