# Blender's Freestyle on one model; run by bench/compare:
#
#     blender --background --factory-startup --threads 1 --debug-freestyle --python-exit-code 1 \
#         --python blender_freestyle.py -- MODEL.obj
#
# Prints the seconds of a render and those of the same render without lines: Freestyle works only
# inside of one. The picture is as cheap as it can be, one sample without light.
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bpy

import blender_scene


def make_cheap(scene):
    scene.render.engine = "CYCLES"
    scene.cycles.samples = 1
    scene.cycles.max_bounces = 0
    scene.cycles.use_denoising = False
    scene.render.use_compositing = False


def choose_lines(layer):
    layer.use_freestyle = True
    settings = layer.freestyle_settings
    settings.crease_angle = blender_scene.smooth_angle()
    while settings.linesets:
        settings.linesets.remove(settings.linesets[0])
    lines = settings.linesets.new("lines")
    lines.linestyle = lines.linestyle or bpy.data.linestyles.new("lines")
    lines.select_silhouette = lines.select_border = lines.select_crease = True
    lines.select_contour = lines.select_external_contour = False
    lines.select_edge_mark = lines.select_material_boundary = False


def render(name, with_lines):
    bpy.context.scene.render.use_freestyle = with_lines
    watch = blender_scene.Stopwatch()
    bpy.ops.render.render()
    watch.report(name)


def main():
    blender_scene.load(blender_scene.arguments()[0])
    make_cheap(bpy.context.scene)
    choose_lines(bpy.context.view_layer)
    render("without", False)
    render("with", True)


main()
