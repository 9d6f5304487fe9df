# How far the colours on a monitor of standard range are from what a chart means, as CIEDE2000.
#
# usage: awk -v said=SAID -f colour-difference.awk FILE...      FILE: what `colours` printed
#
# For each FILE the largest difference, the mean one and where the largest is. What the chart means is worked out here
# from its definition (colour-chart) and from the recommendations alone: BT.601, 709, 2020 (display as BT.1886), BT.2100 (HLG
# of a display of 1000 cd/m2, PQ), BT.2390 from 1000 to 203 cd/m2, the white of BT.2408, on the largest component.
#
# SAID: 601-625, 601-525, 709, 2020, hlg, pq

function max(a, b) { return a > b ? a : b }
function min(a, b) { return a < b ? a : b }
function power(base, exponent) { return base <= 0 ? 0 : exp(exponent * log(base)) }
function root3(x) { return x < 0 ? -exp(log(-x) / 3) : x == 0 ? 0 : exp(log(x) / 3) }

# x and y of red, green, blue; the white is D65. Fills m[0..8]: RGB to XYZ.
function to_xyz(x, m,    xy, i, white, a, d, s) {
    split(x, xy, " ")
    for (i = 0; i < 3; i++) {
        a[i] = xy[2 * i + 1] / xy[2 * i + 2]; a[3 + i] = 1; a[6 + i] = (1 - xy[2 * i + 1] - xy[2 * i + 2]) / xy[2 * i + 2]
    }
    inverse(a, d)
    white[0] = 0.3127 / 0.3290; white[1] = 1; white[2] = (1 - 0.3127 - 0.3290) / 0.3290
    for (i = 0; i < 3; i++) s[i] = d[3 * i] * white[0] + d[3 * i + 1] * white[1] + d[3 * i + 2] * white[2]
    for (i = 0; i < 9; i++) m[i] = a[i] * s[i % 3]
}
function inverse(a, d,    t) {
    t = a[0] * (a[4] * a[8] - a[5] * a[7]) - a[1] * (a[3] * a[8] - a[5] * a[6]) + a[2] * (a[3] * a[7] - a[4] * a[6])
    d[0] = (a[4] * a[8] - a[5] * a[7]) / t; d[1] = (a[2] * a[7] - a[1] * a[8]) / t; d[2] = (a[1] * a[5] - a[2] * a[4]) / t
    d[3] = (a[5] * a[6] - a[3] * a[8]) / t; d[4] = (a[0] * a[8] - a[2] * a[6]) / t; d[5] = (a[2] * a[3] - a[0] * a[5]) / t
    d[6] = (a[3] * a[7] - a[4] * a[6]) / t; d[7] = (a[1] * a[6] - a[0] * a[7]) / t; d[8] = (a[0] * a[4] - a[1] * a[3]) / t
}
function times(m, v, w,    i) {
    for (i = 0; i < 3; i++) w[i] = m[3 * i] * v[0] + m[3 * i + 1] * v[1] + m[3 * i + 2] * v[2]
}

function from_pq(e,    p) {
    p = power(e, 1 / 78.84375)
    return 10000 * power(max(p - 0.8359375, 0) / (18.8515625 - 18.6875 * p), 1 / 0.1593017578125)
}
function to_pq(nits,    p) {
    p = power(nits / 10000, 0.1593017578125)
    return power((0.8359375 + 18.8515625 * p) / (1 + 18.6875 * p), 78.84375)
}
function from_hlg(e) { return e <= 0.5 ? e * e / 3 : (exp((e - 0.55991073) / 0.17883277) + 0.28466892) / 12 }
function toned(nits,    e, top, knee, t) {
    top = to_pq(203) / to_pq(1000); knee = 1.5 * top - 0.5
    e = min(to_pq(nits) / to_pq(1000), 1)
    if (e > knee) {
        t = (e - knee) / (1 - knee)
        e = (2 * t ^ 3 - 3 * t ^ 2 + 1) * knee + (t ^ 3 - 2 * t ^ 2 + t) * (1 - knee) + (3 * t ^ 2 - 2 * t ^ 3) * top
    }
    return from_pq(e * to_pq(1000))
}

# The chart's patch as light of the monitor's three colours.
function meant(patch, rgb,    i, e, light, y, top, xyz, level) {
    level = said == "pq" ? 0.75 : 1
    e[0] = patch % 5 / 4 * level; e[1] = int(patch / 5) % 5 / 4 * level; e[2] = int(patch / 25) / 4 * level
    for (i = 0; i < 3; i++) light[i] = said == "pq" ? from_pq(e[i]) : said == "hlg" ? from_hlg(e[i]) : e[i] ^ 2.4
    if (said == "hlg") {
        y = 0.2627 * light[0] + 0.6780 * light[1] + 0.0593 * light[2]
        for (i = 0; i < 3; i++) light[i] *= 1000 * power(y, 0.2)
    }
    if (said == "hlg" || said == "pq") {
        top = max(light[0], max(light[1], light[2]))
        for (i = 0; i < 3; i++) light[i] *= top > 0 ? toned(top) / top / 203 : 0
    }
    times(from_chart, light, xyz); times(to_monitor, xyz, rgb)
    for (i = 0; i < 3; i++) rgb[i] = min(max(rgb[i], 0), 1)
}

function f(t) { return t > 216 / 24389 ? root3(t) : (24389 / 27 * t + 16) / 116 }
function lab(rgb, out,    xyz) {
    times(from_monitor, rgb, xyz)
    out[0] = 116 * f(xyz[1]) - 16
    out[1] = 500 * (f(xyz[0] / 0.950456) - f(xyz[1])); out[2] = 200 * (f(xyz[1]) - f(xyz[2] / 1.089058))
}
function angle(b, a,    h) { h = a == 0 && b == 0 ? 0 : atan2(b, a); return h < 0 ? h + 2 * pi : h }
function difference(p, q,    c1, c2, g, a1, a2, h1, h2, dl, dc, dh, l, c, h, t, sl, sc, sh, turn, rt) {
    c = (sqrt(p[1] ^ 2 + p[2] ^ 2) + sqrt(q[1] ^ 2 + q[2] ^ 2)) / 2
    g = 0.5 * (1 - sqrt(c ^ 7 / (c ^ 7 + 25 ^ 7)))
    a1 = (1 + g) * p[1]; a2 = (1 + g) * q[1]
    c1 = sqrt(a1 ^ 2 + p[2] ^ 2); c2 = sqrt(a2 ^ 2 + q[2] ^ 2)
    h1 = angle(p[2], a1); h2 = angle(q[2], a2)
    dh = c1 * c2 == 0 ? 0 : h2 - h1
    if (dh > pi) dh -= 2 * pi
    if (dh < -pi) dh += 2 * pi
    dl = q[0] - p[0]; dc = c2 - c1; dh = 2 * sqrt(c1 * c2) * sin(dh / 2)
    l = (p[0] + q[0]) / 2; c = (c1 + c2) / 2
    h = c1 * c2 == 0 ? h1 + h2 : (h1 + h2) / 2
    if (c1 * c2 != 0 && max(h1, h2) - min(h1, h2) > pi) h += h1 + h2 < 2 * pi ? pi : -pi
    t = 1 - 0.17 * cos(h - pi / 6) + 0.24 * cos(2 * h) + 0.32 * cos(3 * h + pi / 30) - 0.20 * cos(4 * h - 63 * pi / 180)
    turn = pi / 6 * exp(-((h * 180 / pi - 275) / 25) ^ 2)
    rt = -sin(2 * turn) * 2 * sqrt(c ^ 7 / (c ^ 7 + 25 ^ 7))
    sl = 1 + 0.015 * (l - 50) ^ 2 / sqrt(20 + (l - 50) ^ 2); sc = 1 + 0.045 * c; sh = 1 + 0.015 * c * t
    return sqrt((dl / sl) ^ 2 + (dc / sc) ^ 2 + (dh / sh) ^ 2 + rt * dc / sc * dh / sh)
}

function report() {
    if (count > 0) printf "%.2f, %.2f (patch %d)\n", largest, sum / count, where
    largest = sum = count = where = 0
}

BEGIN {
    pi = atan2(0, -1)
    monitor = "0.64 0.33 0.30 0.60 0.15 0.06"
    primaries["601-625"] = "0.64 0.33 0.29 0.60 0.15 0.06"; primaries["601-525"] = "0.63 0.34 0.31 0.595 0.155 0.07"
    primaries["709"] = monitor
    primaries["2020"] = primaries["hlg"] = primaries["pq"] = "0.708 0.292 0.170 0.797 0.131 0.046"
    to_xyz(primaries[said], from_chart); to_xyz(monitor, from_monitor); inverse(from_monitor, to_monitor)
}
FNR == 1 { report() }
{
    meant(FNR - 1, wanted)
    for (i = 0; i < 3; i++) shown[i] = ($(i + 1) / 255) ^ 2.4
    lab(wanted, p); lab(shown, q)
    d = difference(p, q); sum += d; count++
    if (verbose) { printf "%d: meant %.1f %.1f %.1f, shown %s: %.2f\n", FNR - 1, power(wanted[0], 1/2.4)*255, power(wanted[1], 1/2.4)*255, power(wanted[2], 1/2.4)*255, $0, d }
    if (d > largest) { largest = d; where = FNR - 1 }
}
END { report() }
