"""The Vorla camera SDK from Python: find cameras, set their features, grab frames into NumPy.

    import vorla
    print(vorla.cameras())
    with vorla.open(serial="SN42") as cam:
        cam.features["Width"] = 640
        for frame in cam.grab(count=10):
            print(frame.frame_number, frame.shape, frame.mean())

Every call that waits for a camera releases the GIL. Errors of the SDK are vorla.Error
subclasses carrying the SDK's message unchanged.
"""
import atexit as _atexit
import builtins as _builtins
import threading as _threading
import weakref as _weakref

import numpy as _np


class Error(Exception):
    """Base of every error the SDK raises through this package."""


class RuntimeError(Error):
    """The SDK's RuntimeException: the camera or a plug-in failed."""


class LogicalError(Error):
    """The SDK's LogicalErrorException: a call in the wrong state."""


class InvalidArgument(Error, ValueError):
    """The SDK's InvalidArgumentException."""


class OutOfRange(Error, ValueError):
    """The SDK's OutOfRangeException: a value outside a feature's range."""


class AccessError(Error):
    """The SDK's AccessException: a feature not readable or writable now."""


class TimeoutError(Error, _builtins.TimeoutError):
    """The SDK's TimeoutException, or no frame within a grab's time-out."""


class PropertyError(Error):
    """The SDK's PropertyException."""


class DynamicCastError(Error):
    """The SDK's DynamicCastException."""


class BadAlloc(Error, MemoryError):
    """The SDK's BadAllocException."""


class CameraNotFound(Error, LookupError):
    """No camera, or more than one, matches the selection."""


class FeatureNotFound(Error, KeyError):
    """No feature of that name; the message names the nearest ones."""

    def __str__(self):
        return str(self.args[0]) if self.args else ""


class CameraClosed(Error):
    """The camera was closed."""


class Frame(_np.ndarray):
    """A grabbed frame: a NumPy array over a buffer of the grab, plus what the SDK says of it
    (frame_number, timestamp, status "Grabbed" or "Failed", pixel_format, error), which views
    of it say too. The buffer is queued again once the frame and every view of it are
    released."""

    frame_number = property(lambda self: _vorla._frame_info(self)[0])
    timestamp = property(lambda self: _vorla._frame_info(self)[1])
    status = property(lambda self: _vorla._frame_info(self)[2])
    pixel_format = property(lambda self: _vorla._frame_info(self)[3])
    error = property(lambda self: _vorla._frame_info(self)[4])


from ._vorla import Camera, Feature, Features, Grab, cameras  # noqa: E402
from . import _vorla  # noqa: E402

_open_cameras = _weakref.WeakSet()


def open(camera=None, *, first=False, serial=None, **properties):  # noqa: A001
    """Opens one camera, selected as `vorla-cl -c` selects: `camera` is its index in
    cameras(), its serial number, full name or friendly name; or `serial=`; or keyword
    properties of its record (PortID="TTY#pts/3", ...) that the transport layer looks up itself,
    with first=True the first match winning. Without any, the first camera found."""
    given = [name for name, value in (("camera", camera), ("serial", serial)) if value is not None]
    if properties:
        given.append("record properties")
    if len(given) > 1:
        raise TypeError(f"open() takes one selection, not {' and '.join(given)}")
    if isinstance(camera, bool) or not isinstance(camera, (int, str, type(None))):
        raise TypeError(f"open() takes an index or a name, not {type(camera).__name__}")
    if isinstance(camera, int) and camera < 0:
        raise ValueError(f"a camera index is 0 or more, not {camera}")
    if serial is not None and not isinstance(serial, str):
        raise TypeError(f"serial is a str, not {type(serial).__name__}")
    for key, value in properties.items():
        if not isinstance(value, str) or "," in value:
            raise ValueError(f"the record property {key} takes a str without ',', not {value!r}")
    text = serial if serial is not None else str(camera) if camera is not None else ""
    if properties:
        text = ",".join(f"{key}={value}" for key, value in properties.items())
    if first and not properties:
        raise TypeError("first=True goes with record properties, e.g. open(PortID=..., first=True)")
    cam = Camera(text, first)
    _open_cameras.add(cam)
    return cam


_log_thread = None
_log_switch = _threading.Lock()


def log_to_python(on=True):
    """Routes the SDK's log to logging.getLogger("vorla.<category>") instead of standard error
    (on=False: back to standard error, filtered by VORLA_LOG). Lines of the SDK's own threads
    are passed by a thread of the package, "vorla-log", as soon as they are logged."""
    global _log_thread
    with _log_switch:
        _vorla._route_log(on)
        if on and _log_thread is None:
            _log_thread = _threading.Thread(target=_vorla._pump_log, name="vorla-log", daemon=True)
            _log_thread.start()
        elif not on and _log_thread is not None:
            _log_thread.join()
            _log_thread = None


@_atexit.register
def _close_all():
    for cam in list(_open_cameras):
        cam.close()
    log_to_python(False)  # the log thread ends before the interpreter does


__all__ = ["AccessError", "BadAlloc", "Camera", "CameraClosed", "CameraNotFound",
           "DynamicCastError", "Error", "Feature", "FeatureNotFound", "Features", "Frame", "Grab",
           "InvalidArgument", "LogicalError", "OutOfRange", "PropertyError", "RuntimeError",
           "TimeoutError", "cameras", "log_to_python", "open"]
