// The SVG file, byte for byte: head, groups, paths and end; failures and their effects. Scenes use
// the identity camera, so a world point (x, y) is at (105 + 105 x, 148.5 - 105 y) millimetres on an
// A4 page.
#include <ctr/SVGExporter.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <locale>
#include <map>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using ctr::DiscreteProjectionSpace;
using ctr::ExportParameters;
using ctr::GeometricFeatures;
using ctr::LineSegmentSet;
using ctr::SVGExporter;
using ctr::SVGLineStyle;
using test_support::Bits;
using test_support::MakeSet;
using test_support::Range;
using test_support::ScaleAndMove;
using test_support::SetPointer;
using test_support::Vec3;

const std::string kXml = "<?xml version=\"1.0\"?>\n";
const std::string kA4 = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"210mm\" "
                        "height=\"297mm\" viewBox=\"0 0 210 297\" >\n";
const std::string kEnd = "</svg>\n";

std::string Head(const std::string& width, const std::string& height) {
    return kXml + "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "mm\" height=\"" +
           height + "mm\" viewBox=\"0 0 " + width + " " + height + "\" >\n";
}

std::string EmptyDocument(const std::string& width, const std::string& height) {
    return Head(width, height) + kEnd;
}

std::string Group(const std::string& rgb, const std::string& width) {
    return "<g fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" stroke=\"rgb(" +
           rgb + ")\" stroke-width=\"" + width + "\">\n";
}

const std::string kSilhouetteGroup = Group("0,0,0", "0.2");
const std::string kCreaseGroup = Group("0,0,0", "0.133333");
const std::string kGroupEnd = "</g>\n";

std::string Path(const std::string& data) {
    return "  <path d=\"" + data + " \"/>\n";
}

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// An exporter with a plain A4 page, without title, and a file of its own.
class SVGExporterFile : public testing::Test {
protected:
    void SetUp() override {
        const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
        path_ = testing::TempDir() + "ctr_svg_" + info->name() + ".svg";
        std::filesystem::remove(path_);
        exporter_.setExportParameters(ExportParameters((DiscreteProjectionSpace())));
        exporter_.setTitle("");
    }

    void TearDown() override { std::filesystem::remove(path_); }

    // Everything between head and end, for a file that went well.
    std::string bodyOf(const LineSegmentSet& set, const std::string& style = "silhouette") {
        EXPECT_TRUE(exporter_.openFile(path_));
        EXPECT_TRUE(exporter_.streamLineSegments(set, style));
        EXPECT_TRUE(exporter_.closeFile());
        return body();
    }

    std::string body() const {
        const std::string text = Contents(path_);
        const std::string head = kXml + kA4;
        EXPECT_EQ(text.substr(0, head.size()), head);
        EXPECT_GE(text.size(), head.size() + kEnd.size());
        EXPECT_EQ(text.substr(text.size() - kEnd.size()), kEnd);
        return text.substr(head.size(), text.size() - head.size() - kEnd.size());
    }

    std::string path_;
    SVGExporter exporter_;
};

// A bend from (0, 0) over (1, 0) to (1, 1).
SetPointer Bend() {
    return MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}, {0, 1, 1, 2});
}

const std::string kBendPath = Path("M105,148.5 L210,148.5 L210,43.5");

SetPointer OneLine(const Vec3& p, const Vec3& q) {
    return MakeSet({p, q}, {0, 1});
}

TEST_F(SVGExporterFile, HasAHeadAndAnEnd) {
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + kEnd);
}

TEST_F(SVGExporterFile, IsTitledIllustrationUnlessToldOtherwise) {
    SVGExporter exporter;
    exporter.setExportParameters(ExportParameters((DiscreteProjectionSpace())));
    EXPECT_TRUE(exporter.openFile(path_));
    EXPECT_TRUE(exporter.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + "<title>Illustration</title>\n" + kEnd);
}

TEST_F(SVGExporterFile, AProjectionSpaceAloneMeansItsBestFitOnA4) {
    const DiscreteProjectionSpace space;
    exporter_.setExportParameters(space);
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + kEnd);
}

TEST_F(SVGExporterFile, CarriesTitleAndDescriptionExactlyAsGiven) {
    exporter_.setTitle("A & B < C > \"D\"");
    exporter_.setDescription("line one\nline <two> &amp;");
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + "<title>A & B < C > \"D\"</title>\n" +
                                   "<desc>line one\nline <two> &amp;</desc>\n" + kEnd);
}

TEST_F(SVGExporterFile, AnEmptyTextLeavesItsElementOut) {
    exporter_.setDescription("only this");
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + "<desc>only this</desc>\n" + kEnd);
}

TEST_F(SVGExporterFile, TextsSetWhileOpenWaitForTheNextFile) {
    EXPECT_TRUE(exporter_.openFile(path_));
    exporter_.setTitle("late");
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + kEnd);
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + "<title>late</title>\n" + kEnd);
}

TEST_F(SVGExporterFile, WritesPageSizesWithSixSignificantDigits) {
    for (const auto& [width, text] :
         std::vector<std::pair<float, std::string>>{{210.0F, "210"},
                                                    {12.3456789F, "12.3457"},
                                                    {0.25F, "0.25"},
                                                    {1234567.0F, "1.23457e+06"}}) {
        ExportParameters page((DiscreteProjectionSpace()));
        page.setPageSizeInMM(Wm4::Vector2<float>(width, 100.5F));
        exporter_.setExportParameters(page);
        EXPECT_TRUE(exporter_.openFile(path_));
        EXPECT_TRUE(exporter_.closeFile());
        EXPECT_EQ(Contents(path_), EmptyDocument(text, "100.5"));
    }
}

TEST_F(SVGExporterFile, EveryLineIsFlushed) {
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_EQ(Contents(path_), kXml + kA4);
    EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_EQ(Contents(path_), kXml + kA4 + kSilhouetteGroup + kBendPath + kGroupEnd);
    EXPECT_TRUE(exporter_.closeFile());
}

TEST_F(SVGExporterFile, ReplacesWhatTheFileHeld) {
    std::ofstream(path_) << std::string(10000, 'x');
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + kEnd);
}

TEST_F(SVGExporterFile, TakesPathsInUtf8) {
    path_ = testing::TempDir() + "ctr_svg_\xC3\xA4\xE7\xBA\xBF.svg";
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_TRUE(std::filesystem::exists(path_));
}

TEST_F(SVGExporterFile, OnlyOneIsOpenAtATime) {
    const std::string other = path_ + ".other";
    std::filesystem::remove(other);
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_FALSE(exporter_.openFile(other));
    EXPECT_FALSE(exporter_.openFile(path_));
    EXPECT_FALSE(std::filesystem::exists(other));
    EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "silhouette")); // the first is unharmed
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(body(), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, ThatCannotBeOpenedIsReportedAndAnotherMayFollow) {
    EXPECT_FALSE(exporter_.openFile(path_ + ".missing/drawing.svg"));
    EXPECT_FALSE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_FALSE(exporter_.closeFile());
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
}

TEST_F(SVGExporterFile, WithoutExportParametersStaysOpenWithoutAHead) {
    SVGExporter exporter;
    EXPECT_FALSE(exporter.openFile(path_));
    EXPECT_EQ(Contents(path_), "");
    EXPECT_FALSE(exporter.openFile(path_)); // it is open
    EXPECT_FALSE(exporter.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_TRUE(exporter.closeFile());
    EXPECT_EQ(Contents(path_), kEnd);
}

TEST_F(SVGExporterFile, ClosingWithoutOpeningFails) {
    EXPECT_FALSE(exporter_.closeFile());
    EXPECT_FALSE(std::filesystem::exists(path_));
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_FALSE(exporter_.closeFile());
    EXPECT_EQ(Contents(path_), kXml + kA4 + kEnd);
}

TEST_F(SVGExporterFile, IsLeftWithoutItsEndByTheDestructor) {
    {
        SVGExporter exporter;
        exporter.setTitle("");
        exporter.setExportParameters(ExportParameters((DiscreteProjectionSpace())));
        EXPECT_TRUE(exporter.openFile(path_));
    }
    EXPECT_EQ(Contents(path_), kXml + kA4);
}

TEST_F(SVGExporterFile, StaysFailedOnAFullDeviceUntilAnotherIsOpened) {
    if (!std::filesystem::exists("/dev/full")) {
        FAIL() << "this system has no /dev/full";
    }
    EXPECT_FALSE(exporter_.openFile("/dev/full"));
    EXPECT_FALSE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_FALSE(exporter_.streamGeometricFeatures(GeometricFeatures()));
    EXPECT_FALSE(exporter_.closeFile());
    EXPECT_EQ(bodyOf(*Bend()), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, SettingsPersistFromFileToFile) {
    exporter_.setTitle("T");
    exporter_.setLineStyle("mine", {Wm4::ColorRGB(1.0F, 0.0F, 0.0F), 0.5F});
    const std::string expected =
        kXml + kA4 + "<title>T</title>\n" + Group("255,0,0", "0.5") + kBendPath + kGroupEnd + kEnd;
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(exporter_.openFile(path_));
        EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "mine"));
        EXPECT_TRUE(exporter_.closeFile());
        EXPECT_EQ(Contents(path_), expected);
    }
}

// ---------------------------------------------------------------------------------------------

/// Takes so many characters and no more.
class FullBuffer : public std::streambuf {
public:
    explicit FullBuffer(std::size_t space) : space_(space) {}

protected:
    int_type overflow(int_type letter) override {
        return space_ > 0 && space_-- > 0 ? traits_type::not_eof(letter) : traits_type::eof();
    }

private:
    std::size_t space_;
};

TEST_F(SVGExporterFile, MayBeABufferOfTheCallers) {
    const SetPointer set = Bend();
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.streamLineSegments(*set, "crease"));
    EXPECT_TRUE(exporter_.closeFile());
    std::stringbuf buffer;
    EXPECT_TRUE(exporter_.openBuffer(buffer));
    EXPECT_FALSE(exporter_.openBuffer(buffer)) << "one at a time";
    EXPECT_FALSE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.streamLineSegments(*set, "crease"));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(buffer.str(), Contents(path_));
    EXPECT_FALSE(exporter_.closeFile());
}

TEST_F(SVGExporterFile, ABufferThatIsFullFailsUntilAnotherIsOpened) {
    const SetPointer set = Bend();
    FullBuffer none(10);
    EXPECT_FALSE(exporter_.openBuffer(none));
    EXPECT_FALSE(exporter_.streamLineSegments(*set, "crease"));
    EXPECT_FALSE(exporter_.closeFile());
    FullBuffer some(kXml.size() + kA4.size() + 20);
    EXPECT_TRUE(exporter_.openBuffer(some));
    EXPECT_FALSE(exporter_.streamLineSegments(*set, "crease"));
    EXPECT_FALSE(exporter_.closeFile());
    std::stringbuf buffer;
    EXPECT_TRUE(exporter_.openBuffer(buffer));
    EXPECT_TRUE(exporter_.closeFile());
}

TEST_F(SVGExporterFile, ABufferStaysWithoutAHeadWhereThereAreNoExportParameters) {
    SVGExporter exporter;
    std::stringbuf buffer;
    EXPECT_FALSE(exporter.openBuffer(buffer));
    EXPECT_TRUE(exporter.closeFile());
    EXPECT_EQ(buffer.str(), kEnd);
}

TEST(SVGExporterLineStyles, StartWithSilhouettesAndCreases) {
    const SVGExporter exporter;
    const auto& styles = exporter.getLineStyles();
    ASSERT_EQ(styles.size(), 2U);
    EXPECT_EQ(styles.at("silhouette").color, Wm4::ColorRGB(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(Bits(styles.at("silhouette").width), Bits(0.2F));
    EXPECT_EQ(styles.at("crease").color, Wm4::ColorRGB(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(Bits(styles.at("crease").width), 0x3E088888U);
}

TEST(SVGExporterLineStyles, AnUnknownNameIsBlackAndOneMillimetreWide) {
    const SVGExporter exporter;
    const SVGLineStyle hidden = exporter.getLineStyle("hidden");
    EXPECT_EQ(hidden.color, Wm4::ColorRGB(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(hidden.width, 1.0F);
    EXPECT_EQ(exporter.getLineStyles().size(), 2U); // asking adds nothing
}

TEST(SVGExporterLineStyles, AreReplacedOrAdded) {
    SVGExporter exporter;
    exporter.setLineStyle("crease", {Wm4::ColorRGB(0.25F, 0.5F, 0.75F), 2.0F});
    exporter.setLineStyle("hidden", {Wm4::ColorRGB(1.0F, 1.0F, 1.0F), 0.1F});
    EXPECT_EQ(exporter.getLineStyles().size(), 3U);
    EXPECT_EQ(exporter.getLineStyle("crease").color, Wm4::ColorRGB(0.25F, 0.5F, 0.75F));
    EXPECT_EQ(exporter.getLineStyle("crease").width, 2.0F);
    EXPECT_EQ(exporter.getLineStyle("hidden").width, 0.1F);
    EXPECT_EQ(exporter.getLineStyle("silhouette").width, 0.2F);
}

TEST_F(SVGExporterFile, AnUnknownStyleWritesNothingAndFails) {
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_FALSE(exporter_.streamLineSegments(*Bend(), "hidden"));
    EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "silhouette")); // the stream is still good
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(body(), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, ChannelsAreTruncatedToIntegers) {
    exporter_.setLineStyle("mine", {Wm4::ColorRGB(1.0F, 0.5F, 0.999F), 0.35F});
    EXPECT_EQ(bodyOf(*Bend(), "mine"), Group("255,127,254", "0.35") + kBendPath + kGroupEnd);
    exporter_.setLineStyle("mine", {Wm4::ColorRGB(-1.0F, 2.0F, 1e30F), 0.35F});
    EXPECT_EQ(bodyOf(*Bend(), "mine"), Group("0,510,255", "0.35") + kBendPath + kGroupEnd);
}

// ---------------------------------------------------------------------------------------------

TEST_F(SVGExporterFile, AChainIsOnePath) {
    EXPECT_EQ(bodyOf(*Bend()), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, CreasesAreThinner) {
    EXPECT_EQ(bodyOf(*Bend(), "crease"), kCreaseGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, ABreakStartsAnotherPath) {
    const SetPointer set =
        MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(-1, 0, 0), Vec3(-1, 1, 0)}, {0, 1, 2, 3});
    EXPECT_EQ(bodyOf(*set), kSilhouetteGroup + Path("M105,148.5 L210,148.5") +
                                Path("M0,148.5 L0,43.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, APathGoesOnThroughWeldedVertices) {
    // The segments meet in space only; after welding they share the vertex.
    const SetPointer set =
        MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}, {0, 1, 2, 3});
    EXPECT_EQ(bodyOf(*set), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, ASegmentThatDoesNotStartWhereTheLastOneEndsIsAPathOfItsOwn) {
    // A star: three chains from one vertex.
    const SetPointer set = MakeSet(
        {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(-0.5F, 1, 0), Vec3(-0.5F, -1, 0)}, {0, 1, 0, 2, 0, 3});
    const std::string text = bodyOf(*set);
    std::size_t paths = 0;
    for (std::size_t at = text.find("<path"); at != std::string::npos;
         at = text.find("<path", at + 1)) {
        ++paths;
    }
    EXPECT_EQ(paths, 3U);
}

TEST_F(SVGExporterFile, TheMiddleOfTheViewIsTheMiddleOfThePageAndUpIsUp) {
    EXPECT_EQ(bodyOf(*OneLine(Vec3(0, 0, 0), Vec3(0, 1, 0))),
              kSilhouetteGroup + Path("M105,148.5 L105,43.5") + kGroupEnd);
    EXPECT_EQ(bodyOf(*OneLine(Vec3(0, 0, 0), Vec3(1, -1, 0))),
              kSilhouetteGroup + Path("M105,148.5 L210,253.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, OnlyVisiblePiecesAreWritten) {
    const SetPointer set = OneLine(Vec3(-1, 0, 0), Vec3(1, 0, 0));
    set->occlusionIntervals = {{Range(1, 4, 1, 2)}};
    // The vertex of the source comes before the new one, so the second piece starts there.
    EXPECT_EQ(bodyOf(*set), kSilhouetteGroup + Path("M0,148.5 L52.5,148.5") +
                                Path("M210,148.5 L105,148.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, NothingVisibleIsNoGroupAndNoFailure) {
    const SetPointer hidden = OneLine(Vec3(-1, 0, 0), Vec3(1, 0, 0));
    hidden->occlusionIntervals = {{Range(0, 1, 1, 1)}};
    EXPECT_EQ(bodyOf(*hidden), "");
    EXPECT_EQ(bodyOf(*SetPointer(new LineSegmentSet)), "");
    EXPECT_EQ(bodyOf(*MakeSet({Vec3(0, 0, 0)}, {})), "");
}

TEST_F(SVGExporterFile, NothingVisibleSucceedsEvenInAnUnknownStyle) {
    EXPECT_EQ(bodyOf(*SetPointer(new LineSegmentSet), "hidden"), "");
}

TEST_F(SVGExporterFile, TheSetsTransformationApplies) {
    const SetPointer set = OneLine(Vec3(0, 0, 0), Vec3(1, 0, 0));
    set->SetLocalTransformation(ScaleAndMove(Vec3(9, 9, 9), Vec3(9, 9, 9)));
    set->SetWorldTransformation(ScaleAndMove(Vec3(0.5F, 1, 1), Vec3(-0.5F, 0.5F, 0)));
    EXPECT_EQ(bodyOf(*set), kSilhouetteGroup + Path("M52.5,96 L105,96") + kGroupEnd);
}

TEST_F(SVGExporterFile, APerspectiveDividesByW) {
    // w = z: (1, 0, 2) is half way to the side of the view, (1, 0, 4) a quarter.
    exporter_.setExportParameters(
        ExportParameters(test_support::PerspectiveSpace(10, 10, 1.0F, 1.0F, 8.0F)));
    EXPECT_EQ(bodyOf(*OneLine(Vec3(1, 0, 2), Vec3(1, 0, 4))),
              kSilhouetteGroup + Path("M157.5,148.5 L131.25,148.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, ThePageMapIsTheCallersWithBothCrossTerms) {
    ExportParameters page((DiscreteProjectionSpace()));
    page.pageTransform = {1.0F, 10.0F, 100.0F, 2.0F};
    page.pageOffset = Wm4::Vector2<float>(5.0F, 7.0F);
    exporter_.setExportParameters(page);
    // (1, 2) -> X = 1 + 20 + 5, Y = 100 + 4 + 7, written as 297 - Y.
    EXPECT_EQ(bodyOf(*OneLine(Vec3(0, 0, 0), Vec3(1, 2, 0))),
              kSilhouetteGroup + Path("M5,290 L26,186") + kGroupEnd);
}

TEST_F(SVGExporterFile, LinesAreNotClippedToThePage) {
    EXPECT_EQ(bodyOf(*OneLine(Vec3(-3, 0, 0), Vec3(0, 4, -7))),
              kSilhouetteGroup + Path("M-210,148.5 L105,-271.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, StreamingIntoNothingFails) {
    EXPECT_FALSE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_FALSE(exporter_.streamGeometricFeatures(GeometricFeatures()));
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_FALSE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_EQ(body(), "");
}

TEST_F(SVGExporterFile, TheSetStaysAsItIs) {
    const SetPointer set = Bend();
    set->occlusionIntervals.resize(2);
    set->segmentFlags = {true, true};
    EXPECT_EQ(bodyOf(*set), kSilhouetteGroup + kBendPath + kGroupEnd);
    EXPECT_EQ(test_support::IndicesOf(*set), (std::vector<unsigned int>{0, 1, 1, 2}));
    EXPECT_EQ(set->segmentFlags, (std::vector<bool>{true, true}));
    EXPECT_EQ(set->GetReferences(), 1);
}

TEST_F(SVGExporterFile, ExportParametersAreCopied) {
    {
        ExportParameters page((DiscreteProjectionSpace()));
        exporter_.setExportParameters(page);
        page.pageTransform = {1.0F, 0.0F, 0.0F, 1.0F};
        page.setPageSizeInMM(Wm4::Vector2<float>(10.0F, 10.0F));
    }
    EXPECT_EQ(bodyOf(*Bend()), kSilhouetteGroup + kBendPath + kGroupEnd);
}

TEST_F(SVGExporterFile, NewExportParametersApplyToWhatIsWrittenLater) {
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    ExportParameters page((DiscreteProjectionSpace()));
    page.pageOffset = Wm4::Vector2<float>(0.0F, 148.5F);
    exporter_.setExportParameters(page);
    EXPECT_TRUE(exporter_.streamLineSegments(*Bend(), "silhouette"));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(body(), kSilhouetteGroup + kBendPath + kGroupEnd + kSilhouetteGroup +
                          Path("M0,148.5 L105,148.5 L105,43.5") + kGroupEnd);
}

// ---------------------------------------------------------------------------------------------

TEST_F(SVGExporterFile, FeaturesComeAsCreasesSilhouettesAndIntersections) {
    exporter_.setLineStyle("crease", {Wm4::ColorRGB(1.0F, 0.0F, 0.0F), 0.125F});
    GeometricFeatures features;
    features.intersectionEdges = OneLine(Vec3(0, 0, 0), Vec3(0, 1, 0));
    features.silhouetteEdges = OneLine(Vec3(0, 0, 0), Vec3(-1, 0, 0));
    features.creaseEdges = OneLine(Vec3(0, 0, 0), Vec3(1, 0, 0));
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.streamGeometricFeatures(features));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(body(), Group("255,0,0", "0.125") + Path("M105,148.5 L210,148.5") + kGroupEnd +
                          kSilhouetteGroup + Path("M105,148.5 L0,148.5") + kGroupEnd +
                          kSilhouetteGroup + Path("M105,148.5 L105,43.5") + kGroupEnd);
}

TEST_F(SVGExporterFile, MissingFeaturesAreLeftOut) {
    GeometricFeatures features;
    EXPECT_TRUE(exporter_.openFile(path_));
    EXPECT_TRUE(exporter_.streamGeometricFeatures(features));
    features.silhouetteEdges = Bend();
    EXPECT_TRUE(exporter_.streamGeometricFeatures(features));
    EXPECT_TRUE(exporter_.closeFile());
    EXPECT_EQ(body(), kSilhouetteGroup + kBendPath + kGroupEnd);
}

// ---------------------------------------------------------------------------------------------

class CommaPunctuation : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1\1\1"; }
};

// Makes a comma the decimal point and groups every digit, for as long as it lives.
class CommaLocale {
public:
    CommaLocale()
        : before_(std::locale::global(std::locale(std::locale(), new CommaPunctuation))) {}
    ~CommaLocale() { std::locale::global(before_); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

private:
    std::locale before_;
};

std::string DrawWith(SVGExporter& exporter, const std::string& path) {
    ExportParameters page((DiscreteProjectionSpace()));
    page.setPageSizeInMM(Wm4::Vector2<float>(210.5F, 297.0F));
    exporter.setTitle("");
    exporter.setExportParameters(page);
    exporter.setLineStyle("mine", {Wm4::ColorRGB(1.0F, 0.5F, 0.0F), 0.25F});
    EXPECT_TRUE(exporter.openFile(path));
    EXPECT_TRUE(exporter.streamLineSegments(*Bend(), "mine"));
    EXPECT_TRUE(exporter.closeFile());
    return Contents(path);
}

TEST_F(SVGExporterFile, IsTheSameInALocaleWithCommasAndGroups) {
    const std::string expected =
        Head("210.5", "297") + Group("255,127,0", "0.25") + kBendPath + kGroupEnd + kEnd;
    SVGExporter before;
    const CommaLocale comma;
    std::ostringstream control;
    control << 1234.5;
    ASSERT_EQ(control.str(), "1.2.3.4,5"); // the locale does what it is meant to
    SVGExporter after;
    EXPECT_EQ(DrawWith(before, path_), expected);
    EXPECT_EQ(DrawWith(after, path_), expected);
}

} // namespace
