# Blender's Line Art modifier on one model; run by bench/compare:
#
#     blender --background --factory-startup --threads 1 --python-exit-code 1 \
#         --python blender_lineart.py -- MODEL.obj
#
# Prints the seconds of evaluating the modifier, which includes everything: its lines are strokes in
# memory. Line types are those of kxcontour: contours, creases, borders, intersections,
# visible ones only.
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bpy

import blender_scene


def add_lineart():
    """An object whose strokes are the lines of the scene."""
    pencil = bpy.data.grease_pencils.new("lines")
    layer = pencil.layers.new("lines")
    layer.frames.new(bpy.context.scene.frame_current)
    material = bpy.data.materials.new("ink")
    bpy.data.materials.create_gpencil_data(material)
    pencil.materials.append(material)
    holder = bpy.data.objects.new("lines", pencil)
    bpy.context.scene.collection.objects.link(holder)
    modifier = holder.grease_pencil_modifiers.new("lines", "GP_LINEART")
    modifier.source_type = "SCENE"
    modifier.target_layer = layer.info
    modifier.target_material = material
    modifier.use_contour = modifier.use_crease = modifier.use_intersection = True
    modifier.use_loose = modifier.use_edge_mark = modifier.use_material = False
    modifier.crease_threshold = blender_scene.smooth_angle()
    modifier.use_multiple_levels = False
    modifier.level_start = 0
    return holder


def stroke_count(evaluated):
    return sum(len(frame.strokes) for layer in evaluated.data.layers for frame in layer.frames)


def main():
    blender_scene.load(blender_scene.arguments()[0])
    holder = add_lineart()
    watch = blender_scene.Stopwatch()
    graph = bpy.context.evaluated_depsgraph_get()
    graph.update()
    watch.report("seconds")
    blender_scene.report("lines", stroke_count(holder.evaluated_get(graph)))


main()
