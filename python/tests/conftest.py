"""Simulated cameras for the vorla tests: three vorla-camsim processes on pseudo-terminals, each
with its own video channel, and a port configuration that enables their ports. The environment
is set before the package first looks for cameras."""
import os
import subprocess
import tempfile

import pytest

BIN = os.path.join(os.environ.get("VORLA_TEST_BUILD_DIR", ""), "bin")
BOARD = os.getpid() % 100000 + 1000
SERIALS = ("SN42", "SN43", "SN44")  # the main camera, a second one, one to unplug


class Simulator:
    def __init__(self, serial, channel):
        self.serial, self.channel = serial, channel
        self.process = subprocess.Popen(
            [os.path.join(BIN, "vorla-camsim"), "--serial", serial, "--board", str(BOARD),
             "--channel", str(channel), "--sensor-width", "320", "--sensor-height", "240"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.pty = self.process.stdout.readline().strip()
        self.port = "TTY#" + self.pty[len("/dev/"):]

    def stop(self):
        self.process.terminate()
        self.process.wait(10)


_work = tempfile.TemporaryDirectory()
SIMULATORS = [Simulator(serial, channel) for channel, serial in enumerate(SERIALS)]
with open(os.path.join(_work.name, "PortConfiguration_x64.xml"), "w") as config:
    config.write("<Bindings>" + "".join(
        f"<Port><ID>{s.port}</ID><Enabled>yes</Enabled><Manufacturer>Hexmar</Manufacturer>"
        f"<DeviceSpecificString>Sapera Board={BOARD} Channel={s.channel}</DeviceSpecificString>"
        "</Port>" for s in SIMULATORS) + "</Bindings>")
os.environ.update(VORLA_CL_BINDINGS=_work.name, XDG_CONFIG_DIRS=os.path.join(_work.name, "none"),
                  CLSERTTY_PORTS=":".join(s.pty for s in SIMULATORS))


def pytest_sessionfinish(session, exitstatus):
    for s in SIMULATORS:
        if s.process.poll() is None:
            s.stop()
    _work.cleanup()


@pytest.fixture(scope="session")
def sims():
    return {s.serial: s for s in SIMULATORS}


@pytest.fixture
def cam():
    import vorla
    with vorla.open(serial="SN42") as camera:
        f = camera.features
        f["Width"], f["Height"], f["PixelFormat"], f["TriggerMode"] = 64, 32, "Mono8", "Off"
        yield camera
