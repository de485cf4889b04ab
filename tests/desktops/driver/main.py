"""usage: main.py kde-x11|kde-wayland|gnome|gnome-tray [PART OF A TEST'S NAME]"""

import subprocess
import sys
import unittest

from gi.repository import GLib

import accessible
import session_test

kind = sys.argv[1]
wanted = sys.argv[2] if len(sys.argv) > 2 else ""
loader = unittest.TestLoader()
suite = unittest.TestSuite(
    test for case in session_test.tests[kind] for test in loader.loadTestsFromTestCase(case)
    if wanted in test.id())
print(f"{kind}: logging in", flush=True)


def keep_picture(name):
    """Of a failure; the desktop may have gone with it."""
    try:
        session_test.desktop.picture(f"failed-{name}")
        for window in accessible.described(session_test.desktop.bus, accessible.agent):
            print("Window of the agent, as it says:", *window)
        print("Windows, as the desktop says:", *session_test.desktop.windows(), sep="\n  ")
        print("Scan log:", *session_test.read(session_test.log).splitlines()[-8:], sep="\n  ")
    except (GLib.Error, OSError, subprocess.CalledProcessError) as error:
        print(f"no picture: {error}")


try:
    session_test.log_in(kind)
except AssertionError:
    keep_picture("login")
    raise
print(f"{kind}: shows itself {session_test.logins[0]:.1f} s after it was started and the desktop stood", flush=True)


class Result(unittest.TextTestResult):
    """Keeps what the screen showed when a test failed, before it is cleared away."""

    def addFailure(self, test, err):
        keep_picture(test.id().rpartition(".")[2])
        super().addFailure(test, err)
        print(self.failures[-1][1], flush=True)

    addError = addFailure


result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2, resultclass=Result).run(suite)
sys.exit(0 if result.wasSuccessful() and result.testsRun else 1)
