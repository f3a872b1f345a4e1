# The input of both of Blender's line renderers: the model, and the camera of all measurements.
import math
import sys
import time

import bpy
from mathutils import Matrix, Vector

VIEW = Vector((1.0, -1.3, 0.8))  # From the middle to the eye; z is up.
MARGIN = 1.02  # Half the picture over the radius of the sphere around the model's box.
CREASE_DEGREES = 30.0


def arguments():
    """The words after "--"."""
    return sys.argv[sys.argv.index("--") + 1:]


def report(name, value):
    """One line for bench/compare."""
    print("BENCH", name, value, flush=True)


class Stopwatch:
    def __init__(self):
        self.start = time.perf_counter()

    def report(self, name):
        report(name, "%.6f" % (time.perf_counter() - self.start))


def read_obj(path):
    """The vertices of a file of bench_make_model, and the triangles of each part."""
    vertices, parts = [], []
    with open(path, encoding="utf-8") as file:
        for line in file:
            words = line.split()
            if words[0] == "v":
                vertices.append(tuple(map(float, words[1:4])))
            elif words[0] == "f":
                parts[-1].append(tuple(int(word) - 1 for word in words[1:4]))
            elif words[0] == "o":
                parts.append([])
    return vertices, parts


def add_part(vertices, triangles):
    """One object with just the vertices that it needs."""
    numbers = {}
    faces = [[numbers.setdefault(corner, len(numbers)) for corner in triangle]
             for triangle in triangles]
    mesh = bpy.data.meshes.new("part")
    mesh.from_pydata([vertices[number] for number in numbers], [], faces)
    mesh.update()
    bpy.context.scene.collection.objects.link(bpy.data.objects.new("part", mesh))


def add_camera(vertices):
    """Orthographic, the sphere around the model's box filling a square picture."""
    low = Vector(map(min, zip(*vertices)))
    high = Vector(map(max, zip(*vertices)))
    radius = (high - low).length / 2
    back = VIEW.normalized()
    right = Vector((0.0, 0.0, 1.0)).cross(back).normalized()
    up = back.cross(right)
    data = bpy.data.cameras.new("camera")
    data.type = "ORTHO"
    data.ortho_scale = 2 * MARGIN * radius
    data.clip_start, data.clip_end = radius, 7 * radius
    camera = bpy.data.objects.new("camera", data)
    camera.matrix_world = Matrix.LocRotScale(
        (low + high) / 2 + 4 * radius * back, Matrix((right, up, back)).transposed(), None)
    scene = bpy.context.scene
    scene.collection.objects.link(camera)
    scene.camera = camera
    scene.render.resolution_x = scene.render.resolution_y = 1000
    scene.render.resolution_percentage = 100


def load(path):
    """An empty scene with the model and the camera, for one thread."""
    bpy.ops.wm.read_factory_settings(use_empty=True)
    vertices, parts = read_obj(path)
    for triangles in parts:
        add_part(vertices, triangles)
    add_camera(vertices)
    bpy.context.scene.render.threads_mode = "FIXED"
    bpy.context.scene.render.threads = 1


def smooth_angle():
    """The angle between two faces, the long way round, below which their edge is a crease."""
    return math.pi - math.radians(CREASE_DEGREES)
