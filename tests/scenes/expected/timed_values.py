#!/usr/bin/env python3
"""Values of elements at a time, by the formulas on paper. Writes timed_values.inc."""
import math
import os

def ease(t, a):
    if a <= 0:
        return t
    p = a + 1
    v = (2 * t) ** p / 2 if t <= 0.5 else 1 - (2 * (1 - t)) ** p / 2
    c = (1 - math.cos(math.pi * v)) / 2
    return v * (1 - a) + c * a if a < 1 else c

def value(a, b, run, time, accel):
    r = run / time
    return b if r > 1 else a + (b - a) * ease(max(r, 0.0), accel)

out = []
out.append("// Change of x from 0.1 to 0.7 over 2 s: easing, seconds since the start, x.\n")
out.append("constexpr CHANGE_CASE arrChangeCases[] = {\n")
for accel in (1.0, 0.0, -3.0, 0.5, 2.5, 40.0):
    for run in (0.0, 0.08, 0.5, 0.92, 1.0, 1.48, 1.96, 2.0, 2.04):
        out.append("    {%r, %r, %.17g},\n" % (accel, run, value(0.1, 0.7, run, 2.0, accel)))
out.append("};\n\n")

out.append("// Oscillation of y = 0.25: amplitude, period, time, y.\n")
out.append("constexpr VARY_CASE arrVaryCases[] = {\n")
for amp, period, now in ((0.1, 10.0, 0.0), (0.1, 10.0, 2.5), (0.1, 10.0, 5.0), (0.1, 10.0, 123.4), (-0.3, 0.75, 7.1),
                         (0.00009, 10.0, 5.0), (0.2, -4.0, 1.0)):
    y = 0.25 + (amp * math.cos(2 * math.pi * (now / period - int(now / period))) if abs(amp) >= 0.0001 else 0.0)
    out.append("    {%r, %r, %r, %.17g},\n" % (amp, period, now, y))
out.append("};\n\n")

out.append("// Motion by add at 25 frames/s: name, start, speed, w and h, frames, value.\n")
out.append("constexpr ADD_CASE arrAddCases[] = {\n")
for name, start, speed, size, frames in (("x", 0.0, 0.1, 0.5, 10), ("x", 0.0, 0.1, 0.5, 187), ("x", 0.0, 0.1, 0.5, 188),
                                         ("x", 0.0, -0.1, 0.5, 188), ("y", 0.7, 3.0, 0.5, 7), ("x", 0.0, 1.0, 1.0, 26),
                                         ("sx", 0.9, 1.0, 1.0, 5), ("alpha", 0.5, 0.5, 1.0, 30)):
    v = start
    for _ in range(frames):
        v += speed / 25
        if name in ("x", "y"):
            half = 0.5 * (1 + size)
            v = (v + half) % (2 * half) - half
        elif name == "sx":
            v = math.fmod(v, 1.0)
        else:
            v = (v + 1) % 2 - 1
    out.append('    {u"%s", %r, %r, %r, %d, %.17g},\n' % (name, start, speed, size, frames, v))
out.append("};\n")
with open(os.path.join(os.path.dirname(__file__), "timed_values.inc"), "w") as f:
    f.writelines(out)
