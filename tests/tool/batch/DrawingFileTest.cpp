// Files that begin as drawings do.
#include "tool/batch/DrawingFile.h"

#include "ModelText.h"
#include "drawing/output/PaperDrawings.h"

namespace {

using kxcontour::IsDrawing;
using tool_test::NewFile;
using tool_test::TemporaryFolder;

TEST(DrawingFile, IsWhatAnyWriterMakes) {
    const TemporaryFolder folder;
    const auto path = [&](const char* name) { return folder.path(name); };
    kxcontour::WriteSvg(tool_test::MakeDrawing({tool_test::MakePath({{1, 1}, {2, 2}})}),
                        NewFile(path("plain.svg")));
    kxcontour::WriteSvg(tool_test::RichDrawing(), NewFile(path("layered.svg")));
    kxcontour::WritePdf(tool_test::RichDrawing(), NewFile(path("a.pdf")));
    kxcontour::WritePng(tool_test::RichDrawing(), 10.0, NewFile(path("a.png")));
    kxcontour::WriteDxf(tool_test::RichDrawing(), NewFile(path("a.dxf")));
    kxcontour::WriteJson(kxdrawing::Drawing(), NewFile(path("a.json")));
    for (const char* name : {"plain.svg", "layered.svg", "a.pdf", "a.png", "a.dxf", "a.json"}) {
        EXPECT_TRUE(IsDrawing(path(name))) << name;
    }
}

TEST(DrawingFile, IsNothingElse) {
    const TemporaryFolder folder;
    EXPECT_FALSE(IsDrawing(folder.path("none")));
    EXPECT_FALSE(IsDrawing(folder.path(".")));
    EXPECT_FALSE(IsDrawing(folder.write("empty", "")));
    EXPECT_FALSE(IsDrawing(folder.write("short", "%PD")));
    EXPECT_FALSE(IsDrawing(folder.write("model.obj", "v 0 0 0\n")));
    EXPECT_FALSE(IsDrawing(folder.write("a.xml", "<?xml version=\"1.0\"?>\n<mesh>\n")));
    EXPECT_FALSE(IsDrawing(folder.write("a.json", "{\"jobs\": []}\n")));
}

} // namespace
