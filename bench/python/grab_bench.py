"""The Python module's figures against limits measured in the same run (release build):

- 2 MiB frames (1024 x 1024 Mono16) from a free-running simulated camera: frames per second
  through cam.grab over those through the C++ stream grabber with as many buffers of the same
  size (python_grab_reference), >= 0.9;
- Python's CPU per frame beyond the C++ grab's (the consuming thread's CPU time), <= 10 us;
- a cached feature read, cam.features["Width"], <= 2 us.

Each round grabs through the C++ stream grabber and then through cam.grab, back to back, so that
both see the same load of the machine; the figures are the medians over the rounds of each
round's ratio and difference, with their range. Usage: python_bench
(build/<preset>/bin/python_bench)."""
import statistics
import os
import subprocess
import sys
import tempfile
import time

BIN = sys.argv[1]
FRAMES, BUFFERS, ROUNDS, READS = 1000, 8, 11, 200_000

work = tempfile.TemporaryDirectory()
board = os.getpid() % 100000 + 200000
camsim = subprocess.Popen(
    [os.path.join(BIN, "vorla-camsim"), "--serial", "BENCH1", "--board", str(board),
     "--sensor-width", "1024", "--sensor-height", "1024"],
    stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
pty = camsim.stdout.readline().strip()
with open(os.path.join(work.name, "PortConfiguration_x64.xml"), "w") as config:
    config.write(f"<Bindings><Port><ID>TTY#{pty[5:]}</ID><Enabled>yes</Enabled>"
                 "<Manufacturer>Hexmar</Manufacturer><DeviceSpecificString>Sapera "
                 f"Board={board} Channel=0</DeviceSpecificString></Port></Bindings>")
os.environ.update(VORLA_CL_BINDINGS=work.name, CLSERTTY_PORTS=pty,
                  XDG_CONFIG_DIRS=os.path.join(work.name, "none"))

import vorla  # noqa: E402  (after the environment that leads it to the camera)


def python_grab():
    with vorla.open(serial="BENCH1") as cam:
        grabbed = 0
        for frame in cam.grab(count=FRAMES, buffers=BUFFERS, timeout=5.0):
            if grabbed == 0:
                start, cpu = time.perf_counter(), time.thread_time()
            grabbed += 1
        seconds, cpu = time.perf_counter() - start, time.thread_time() - cpu
    return (FRAMES - 1) / seconds, cpu * 1e6 / (FRAMES - 1)


def cpp_grab():
    out = subprocess.run([os.path.join(BIN, "python_grab_reference"), "BENCH1", str(FRAMES),
                          str(BUFFERS)], check=True, capture_output=True, text=True).stdout
    fps, cpu = out.split()
    return float(fps), float(cpu)


try:
    with vorla.open(serial="BENCH1") as cam:
        f = cam.features
        f["Width"], f["Height"], f["PixelFormat"] = 1024, 1024, "Mono16"
        f["ExposureTime"] = f.feature("ExposureTime").min
        f["AcquisitionFrameRate"] = f.feature("AcquisitionFrameRate").max
        assert f["PayloadSize"] == 2 << 20
        f["Width"]
        best_read = float("inf")
        for _ in range(5):
            start = time.thread_time()
            for _ in range(READS):
                f["Width"]
            best_read = min(best_read, (time.thread_time() - start) * 1e6 / READS)
    ratios, overheads, rates = [], [], []
    for _ in range(ROUNDS):
        cpp_fps, cpp_cpu = cpp_grab()
        py_fps, py_cpu = python_grab()
        ratios.append(py_fps / cpp_fps)
        overheads.append(py_cpu - cpp_cpu)
        rates.append((py_fps, cpp_fps, py_cpu, cpp_cpu))
finally:
    camsim.terminate()
    camsim.wait()

ratio, overhead = statistics.median(ratios), statistics.median(overheads)
py_fps, cpp_fps, py_cpu, cpp_cpu = (statistics.median(r[i] for r in rates) for i in range(4))
print(f"2 MiB frames: cam.grab {py_fps:.0f} fps, C++ stream grabber {cpp_fps:.0f} fps: "
      f"ratio {ratio:.3f} (limit >= 0.9; {min(ratios):.2f}-{max(ratios):.2f} over {ROUNDS} rounds)")
print(f"Python CPU per frame beyond the C++ grab: {overhead:.2f} us (limit <= 10 us; "
      f"{min(overheads):.1f}-{max(overheads):.1f}); C++ {cpp_cpu:.2f} us, Python {py_cpu:.2f} us")
print(f"cached feature read cam.features['Width']: {best_read:.3f} us (limit <= 2 us)")
sys.exit(0 if ratio >= 0.9 and overhead <= 10 and best_read <= 2 else 1)
