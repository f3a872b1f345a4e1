# Boxes seen in parallel projection: hidden(x, y, z) says whether a point is behind or inside of
# one. Takes -v azimuth and -v elevation of the eye in degrees, and -v boxes.
BEGIN {
    degree = atan2(1, 1) / 45
    eye[1] = sin(azimuth * degree) * cos(elevation * degree)
    eye[2] = sin(elevation * degree)
    eye[3] = cos(azimuth * degree) * cos(elevation * degree)
    bounds = split(boxes, bound, " ")
}

# Cuts the ray from the point to the eye with each box, axis by axis. The eye is in front of the
# three faces on the far sides of the axes: none of its coordinates is 0 or less.
function hidden(x, y, z, p, b, axis, from, to, enter, leave) {
    p[1] = x
    p[2] = y
    p[3] = z
    for (b = 0; b < bounds; b += 6) {
        enter = 0
        leave = 1e9
        for (axis = 1; axis <= 3; ++axis) {
            from = (bound[b + axis] - p[axis]) / eye[axis]
            to = (bound[b + axis + 3] - p[axis]) / eye[axis]
            if (from > enter) enter = from
            if (to < leave) leave = to
        }
        if (leave - enter > 1e-6) return 1
    }
    return 0
}
