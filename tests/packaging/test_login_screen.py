"""The unit in the session of a login screen, which belongs to a user of the system.

The user manager is a real one; test_session.py shows that the same unit starts for a person.
"""

import os

import pytest

from support import NAME, SIMULATOR, install, person, simulated_service, wait_until
from test_session import UserManager, needs_user_manager


@pytest.fixture(name="prefix")
def fixture_prefix(tmp_path):
    return install(tmp_path / "prefix")


@needs_user_manager
def test_unit_does_not_start_for_a_user_of_the_system(prefix):
    assert os.getuid() < 1000
    with simulated_service([prefix / "bin" / SIMULATOR]) as service:
        service.report("Front Desk", "17")
        manager = UserManager(prefix)
        try:
            wait_until(
                lambda: manager.show("ActiveState", "graphical-session.target") == "active",
                "the graphical session")
            wait_until(lambda: manager.show("ConditionTimestampMonotonic") != "0", "the decision")
            assert manager.show("ConditionResult") == "no"
            assert manager.show("ActiveState") == "inactive" and manager.main_pid() == 0
            manager.systemctl("start", NAME)  # by hand neither
            assert manager.show("ActiveState") == "inactive"
            assert person().windows("Front Desk") == []
            assert service.lines("request status") == []
        finally:
            manager.stop()
