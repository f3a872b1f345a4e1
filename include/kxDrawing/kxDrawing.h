// The drawing engine in one header:
//
//     kxdrawing::Scene scene;
//     scene.add({.positions = positions, .triangles = triangles, .name = "part"});
//     write(draw(scene, kxdrawing::View::named(kxdrawing::Direction::Iso)), "part.svg");
#pragma once

#include <kxDrawing/Drawing.h>
#include <kxDrawing/Errors.h>
#include <kxDrawing/LineOptions.h>
#include <kxDrawing/Page.h>
#include <kxDrawing/Progress.h>
#include <kxDrawing/Scene.h>
#include <kxDrawing/View.h>
#include <kxDrawing/Writers.h>
