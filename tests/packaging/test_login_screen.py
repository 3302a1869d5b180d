"""The unit in the session of a login screen, which belongs to a user of the system.

The user manager is a real one; test_session.py shows that the same unit starts for a person.
"""

import os

import pytest

from support import NAME, SIMULATOR, boxes, install, simulated_service, wait_for
from test_session import UserManager, needs_user_manager


@pytest.fixture(name="prefix")
def fixture_prefix(tmp_path):
    return install(tmp_path / "prefix")


@needs_user_manager
def test_unit_does_not_start_for_a_user_of_the_system(prefix):
    assert os.getuid() < 1000
    with simulated_service([prefix / "bin" / SIMULATOR]) as service:
        service.command('error "Front Desk" 17 110 3 Print ribbon out or missing.')
        manager = UserManager(prefix)
        try:
            wait_for("the graphical session",
                     lambda: manager.show("ActiveState", "graphical-session.target") == "active")
            wait_for("the decision", lambda: manager.show("ConditionTimestampMonotonic") != "0")
            assert manager.show("ConditionResult") == "no"
            assert manager.show("ActiveState") == "inactive" and manager.main_pid() == 0
            manager.systemctl("start", NAME)  # by hand neither
            assert manager.show("ActiveState") == "inactive"
            assert boxes("Front Desk") == []
            assert not [line for line in service.lines if line.startswith("request status")]
        finally:
            manager.stop()
