// Streams over descriptors.
#include "drawing/files/FileStream.h"

#include "ModelText.h"
#include "drawing/output/PaperDrawings.h"

namespace {

using kxcontour::FileStream;
using tool_test::NewFile;
using tool_test::ReasonOf;

TEST(FileStream, WritesBytesAsTheyCome) {
    const tool_test::TemporaryFolder folder;
    NewFile file(folder.path("a"));
    std::ostream& out = file;
    out << "some" << ' ' << 12;
    out.put('\xFF').write("\0\n", 2);
    EXPECT_EQ(tool_test::ReadBytes(folder.path("a")), std::string("some 12\xFF\0\n", 10))
        << "before the stream is flushed";
    out.flush();
    EXPECT_TRUE(out.good());
}

TEST(FileStream, ThrowsTheReasonOfAFailure) {
    NewFile full("/dev/full");
    std::ostream& out = full;
    EXPECT_EQ(ReasonOf([&] { out << "text"; }), ENOSPC);
    EXPECT_TRUE(out.bad());
    FileStream closed(-1);
    EXPECT_EQ(ReasonOf([&] { closed.put('x'); }), EBADF);
}

} // namespace
