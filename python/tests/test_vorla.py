"""The vorla package against simulated cameras (see conftest.py)."""
import os
import signal
import threading
import time

import numpy as np
import pytest
import vorla

# dtype, values per pixel and how a stripe value v (0..255) is stored, per pixel format
FORMATS = {
    "Mono8": (np.uint8, 1, lambda v: v),
    "Mono10": (np.uint16, 1, lambda v: v << 2),
    "Mono12": (np.uint16, 1, lambda v: v << 4),
    "Mono16": (np.uint16, 1, lambda v: v << 8),
    "BayerRG8": (np.uint8, 1, lambda v: v),
    "RGB8": (np.uint8, 3, lambda v: np.stack([v, 255 - v, (v * 3) & 0xFF], axis=-1)),
}


def check_pattern(frame, width=64, height=32, pixel_format="Mono8"):
    """The simulator's picture: diagonal stripes moving three pixels a frame, the frame number in
    the first eight bytes."""
    dtype, channels, store = FORMATS[pixel_format]
    assert (frame.dtype, frame.pixel_format, frame.T.status) == (dtype, pixel_format, "Grabbed")
    assert frame.shape == ((height, width) if channels == 1 else (height, width, channels))
    raw = frame.tobytes()
    number = int.from_bytes(raw[:8], "little")
    y, x = np.mgrid[0:height, 0:width]
    expected = store(((x + y + 3 * number) & 0xFF).astype(np.uint32)).astype(dtype)
    assert raw[8:] == expected.tobytes()[8:], f"frame {number} is not the test pattern"
    return number


def unlocked(cam):
    return cam.features["TLParamsLocked"] == 0


def test_selection_roads_and_refusals(sims):
    records = vorla.cameras()
    assert [r["DeviceID"].rsplit("#", 1)[1] for r in records] == ["SN42", "SN43", "SN44"]
    for road in ({"camera": 0}, {"camera": "SN42"}, {"serial": "SN42"},
                 {"camera": records[0]["FullName"]}, {"camera": records[0]["FriendlyName"]},
                 {"PortID": sims["SN42"].port}, {"PortID": sims["SN42"].port, "first": True}):
        with vorla.open(**road) as cam:
            assert cam.info["DeviceID"].endswith("#SN42"), road
            assert cam.features["DeviceSerialNumber"] == "SN42"
    assert not cam.is_open
    with pytest.raises(vorla.CameraClosed, match=r"^The camera 'Hexmar HX1300 on TTY#pts/\d+' is closed\.$"):
        cam.features["Width"]
    with pytest.raises(vorla.CameraNotFound) as error:
        vorla.open("SN99")
    assert str(error.value) == ("No camera is named 'SN99' (by index 0 to 2, serial number, full "
                                "name or friendly name); see 'vorla-cl list'.")
    for bad, kind in ((dict(camera=1.5), TypeError), (dict(camera=0, serial="SN42"), TypeError),
                      (dict(camera=-1), ValueError), (dict(PortID="a,b"), ValueError),
                      (dict(camera="SN42", first=True), TypeError)):
        with pytest.raises(kind):
            vorla.open(**bad)


def test_features_types_and_refusals(cam):
    f = cam.features
    for name, kind, value in (("Width", "Integer", 64), ("Gain", "Float", float),
                              ("PixelFormat", "Enumeration", "Mono8"),
                              ("DeviceModelName", "String", "HX1300"),
                              ("TriggerSoftware", "Command", vorla.Feature),
                              ("Root", "Category", vorla.Feature)):
        feature = f.feature(name)
        assert (feature.name, feature.type) == (name, kind)
        got = f[name]
        assert isinstance(got, value) if isinstance(value, type) else got == value
    width = f.feature("Width")
    assert (width.access_mode, width.min, width.inc) == ("RW", 16, 4) and width.max == 320
    assert "RGB8" in f.feature("PixelFormat").entries and isinstance(width.tooltip, str)
    assert "TLParamsLocked" in f and "Widht" not in f
    assert [x.name for x in f][:2] == ["Root", f.feature("Root").features[0].name]
    assert cam.transport_features.names() == ["AutoCloseTimeout", "SerialPort", "Root"]
    assert cam.xml().lstrip().startswith("<?xml")

    f["PixelFormat"] = "Mono16"
    f["Gain"] = 2
    assert (f["PixelFormat"], f["Gain"], f["PayloadSize"]) == ("Mono16", 2.0, 64 * 32 * 2)
    f["TriggerMode"], f["TriggerSource"] = "On", "Software"
    f["TriggerSoftware"]()
    refusals = [
        (lambda: f["Widht"], vorla.FeatureNotFound, "No feature 'Widht'; did you mean Width?"),
        (lambda: f.__setitem__("Width", "64"), TypeError,
         "'Width' is an Integer feature: it takes an int, not str"),
        (lambda: f.__setitem__("Width", True), TypeError,
         "'Width' is an Integer feature: it takes an int, not bool"),
        (lambda: f.__setitem__("PixelFormat", 1), TypeError,
         "'PixelFormat' is an Enumeration feature: it takes an entry's symbol (str), not int"),
        (lambda: f.__setitem__("TriggerSoftware", 1), TypeError,
         "'TriggerSoftware' is a Command feature: call it instead of assigning to it"),
        (lambda: f.feature("Width")(), TypeError, "'Width' is an Integer feature, not a command"),
        (lambda: f.feature("DeviceModelName").min, TypeError,
         "'DeviceModelName' is a String feature and has no range"),
        (lambda: f.__setitem__("Width", 100000), vorla.OutOfRange,
         "Value = 100000 must be equal or smaller than Max = 320."),
        (lambda: f.__setitem__("PixelFormat", "Mono9"), vorla.InvalidArgument,
         "Feature 'PixelFormat' : cannot convert value 'Mono9', the value is invalid."),
        (lambda: f.__setitem__("DeviceModelName", "x"), vorla.AccessError, "Node is not writable"),
    ]
    for call, kind, text in refusals:  # ours, then the SDK's own words and origin
        with pytest.raises(kind) as error:
            call()
        assert str(error.value) == text
        assert getattr(error.value, "source_file", ".cpp").endswith(".cpp")


@pytest.mark.parametrize("pixel_format", FORMATS)
def test_grab_gives_the_test_pattern(cam, pixel_format):
    cam.features["PixelFormat"] = pixel_format
    numbers = [check_pattern(frame, pixel_format=pixel_format) for frame in cam.grab(count=3)]
    assert numbers == sorted(numbers) and len(set(numbers)) == 3
    assert unlocked(cam)


def test_buffers_are_reused_under_a_slow_consumer(cam):
    cam.features["AcquisitionFrameRate"] = 200.0
    addresses = set()
    for frame in cam.grab(count=6, buffers=2):
        before = frame.copy()
        time.sleep(0.05)  # the camera sends ten frames meanwhile; none may land in this buffer
        assert np.array_equal(frame, before)
        check_pattern(frame)
        addresses.add(frame.__array_interface__["data"][0])
    assert len(addresses) == 2 and unlocked(cam)
    with cam.grab(buffers=2) as grab:
        held = [next(grab), next(grab)]
        with pytest.raises(vorla.LogicalError, match="All 2 buffers are held by frames still"):
            next(grab)
        del held
        check_pattern(next(grab))
    assert unlocked(cam) and not hasattr(before, "frame_number")  # a copy is no frame


@pytest.mark.parametrize("where", ["in the loop", "waiting for a frame"])
def test_keyboard_interrupt_leaves_the_camera_unlocked(cam, where):
    if where == "waiting for a frame":
        cam.features["TriggerMode"], cam.features["TriggerSource"] = "On", "Software"
        threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()
    with pytest.raises(KeyboardInterrupt):
        for frame in cam.grab(timeout=10.0):
            assert cam.features["TLParamsLocked"] == 1
            raise KeyboardInterrupt
    assert unlocked(cam)
    cam.features["TriggerMode"] = "Off"
    assert len(list(cam.grab(count=2))) == 2


def test_removal_callback_fires_once(sims, monkeypatch):
    calls, gone, reported = [], threading.Event(), []
    monkeypatch.setattr("sys.unraisablehook", reported.append)

    def removed():
        calls.append(threading.current_thread().name)
        gone.set()
        raise ValueError("reported, not passed to the SDK")

    with vorla.open(serial="SN44") as cam:
        assert cam.on_removed(removed) is removed
        sims["SN44"].stop()
        deadline = time.monotonic() + 10
        while not gone.is_set() and time.monotonic() < deadline:
            with pytest.raises(vorla.Error):
                cam.features.feature("DeviceTemperature").value  # uncached: goes to the camera
            gone.wait(0.2)
        time.sleep(0.5)
    assert len(calls) == 1 and [type(r.exc_value) for r in reported] == [ValueError]


def test_two_cameras_grab_from_two_threads():
    results = {}

    def grab(serial):
        with vorla.open(serial=serial) as cam:
            cam.features["Width"], cam.features["Height"] = 64, 32
            cam.features["PixelFormat"], cam.features["TriggerMode"] = "Mono8", "Off"
            results[serial] = [check_pattern(f) for f in cam.grab(count=20)]

    threads = [threading.Thread(target=grab, args=(s,)) for s in ("SN42", "SN43")]
    for t in threads:
        t.start()
    for t in threads:
        t.join(60)
    assert {s: len(set(n)) for s, n in results.items()} == {"SN42": 20, "SN43": 20}


def test_log_of_sdk_threads_reaches_logging_at_once(cam, caplog, monkeypatch):
    said = threading.Event()
    monkeypatch.setattr(caplog.handler, "emit",
                        lambda record: record.getMessage() == "Buffer underrun*!" and said.set())
    vorla.log_to_python()
    with caplog.at_level(1, logger="vorla"), cam.grab(buffers=1) as grab:
        frame = next(grab)  # holds the one buffer: the delivery thread finds none and says so
        said.clear()
        assert said.wait(10) and frame.status == "Grabbed"  # passed by vorla-log, no call
    vorla.log_to_python(False)
