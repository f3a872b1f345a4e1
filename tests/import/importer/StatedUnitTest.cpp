// Units in texts that are whole, odd or cut short, and files in archives.
#include "import/importer/StatedUnit.h"

#include "ModelText.h"
#include "import/importer/ZipEntry.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::ReadZipEntry;
using kxcontour::StatedMillimetresPerUnit;
using Unit = std::optional<double>;

constexpr const char* kX3d = "Extensible 3D(X3D) Importer";
constexpr const char* kAmf = "Additive manufacturing file format(AMF) Importer";
constexpr const char* kDxf = "Drawing Interchange Format (DXF) Importer";
constexpr const char* kOgex = "Open Game Engine Exchange";

TEST(StatedMillimetresPerUnit, KnowsNothingOfOtherFormats) {
    EXPECT_EQ(StatedMillimetresPerUnit("STL", "<amf unit=\"inch\">"), Unit());
    EXPECT_EQ(StatedMillimetresPerUnit("", ""), Unit());
}

TEST(StatedMillimetresPerUnit, ReadsAttributesInAnyOrderAndQuotes) {
    EXPECT_EQ(StatedMillimetresPerUnit(kAmf, "<amf version='1' unit='inch'>"), 25.4);
    EXPECT_EQ(StatedMillimetresPerUnit(kAmf, "<amf\n\tunit\n=\n\"meter\" a='>'>"), 1000.0);
    EXPECT_EQ(StatedMillimetresPerUnit(kAmf, "<amfile unit='inch'/><amf subunit='inch'>"), 1.0);
    EXPECT_EQ(StatedMillimetresPerUnit(kAmf, "<amf>"), 1.0);
}

TEST(StatedMillimetresPerUnit, RefusesUnitsThatAreNone) {
    EXPECT_EQ(StatedMillimetresPerUnit(kAmf, "<amf unit='parsec'>"), Unit());
    for (const char* factor : {"0", "-1", "nan", "inf", "1e999", "two", "", "1 m"}) {
        const std::string unit =
            std::string("<unit category='length' conversionFactor='") + factor + "'/>";
        EXPECT_EQ(StatedMillimetresPerUnit(kX3d, unit), Unit()) << factor;
    }
    EXPECT_EQ(StatedMillimetresPerUnit(kDxf, "$INSUNITS\n70\n99\n"), Unit());
    EXPECT_EQ(StatedMillimetresPerUnit(kDxf, "$INSUNITS\n40\n4\n"), Unit());
    EXPECT_EQ(StatedMillimetresPerUnit(kOgex, "\"distance\") {float {x}}"), Unit());
}

TEST(StatedMillimetresPerUnit, ReadsTextsOfOtherSystems) {
    EXPECT_EQ(StatedMillimetresPerUnit(kDxf, "  9\r\n$INSUNITS\r\n 70\r\n     5\r\n"), 10.0);
    EXPECT_EQ(StatedMillimetresPerUnit(kDxf, "$INSUNITS\n70\n4"), 1.0) << "at the very end";
}

TEST(StatedMillimetresPerUnit, AsksTheRootOfA3mfArchive) {
    const std::string inches = "<model unit='inch'>";
    const std::string feet = "<model unit='foot'>";
    EXPECT_EQ(StatedMillimetresPerUnit("3mf Importer",
                                       tool_test::ZipBytes({{"3D/Objects/part.model", inches},
                                                            {"3D/3dmodel.model", feet}})),
              304.8);
    EXPECT_EQ(
        StatedMillimetresPerUnit("3mf Importer", tool_test::ZipBytes({{"other.model", inches}})),
        25.4);
}

// Tags without an end, and other elements whose names begin alike, are passed over once.
TEST(StatedMillimetresPerUnit, ReadsMegabytesOfUnitsInOneGo) {
    constexpr int kTags = 1000000;
    for (const char* tag : {"<unit ", "<units ", "<UNIT a='b' ", "<unit category='mass'/>"}) {
        SCOPED_TRACE(tag);
        std::string text;
        for (int i = 0; i < kTags; ++i) {
            text += tag;
        }
        EXPECT_EQ(StatedMillimetresPerUnit(kX3d, text), 1000.0);
        EXPECT_EQ(StatedMillimetresPerUnit(kX3d, text + ">"), 1000.0);
    }
}

TEST(StatedMillimetresPerUnit, SurvivesEveryCut) {
    const std::vector<std::pair<const char*, std::string>> texts{
        {kX3d, "<X3D><head><unit category='length' conversionFactor='0.5'/></head><Scene>"},
        {kAmf, "<?xml version='1.0'?><amf unit='inch' version='1.1'>"},
        {kDxf, "  9\n$INSUNITS\n 70\n     5\n"},
        {kOgex, "Metric (key = \"distance\") {float {0.5}}"},
        {"3mf Importer", tool_test::Bytes3mf("<model unit='inch'>")}};
    for (const auto& [importer, text] : texts) {
        const Unit whole = StatedMillimetresPerUnit(importer, text);
        EXPECT_TRUE(whole && *whole != 1.0 && *whole != 1000.0) << importer;
        for (std::size_t size = 0; size < text.size(); ++size) {
            const std::string part(text, 0, size);
            const Unit unit = StatedMillimetresPerUnit(importer, part);
            EXPECT_TRUE(!unit || *unit > 0.0) << part;
        }
    }
}

TEST(ReadZipEntry, FindsTheFirstNameWithTheEnding) {
    const std::string archive =
        tool_test::ZipBytes({{"a.txt", "aaa"}, {"b.model", "bbbbb"}, {"c.model", "c"}});
    EXPECT_EQ(ReadZipEntry(archive, ".model", 100), "bbbbb");
    EXPECT_EQ(ReadZipEntry(archive, ".model", 2), "bb");
    EXPECT_EQ(ReadZipEntry(archive, ".png", 100), "");
    EXPECT_EQ(ReadZipEntry("before " + archive.substr(0, 3), "", 100), "");
}

TEST(ReadZipEntry, InflatesAsMuchAsIsAskedFor) {
    const std::string archive = tool_test::ReadBytes(ASSIMP_MODELS "/3MF/box.3mf");
    const std::string model = ReadZipEntry(archive, ".model", 1U << 16U);
    EXPECT_EQ(model.size(), 1273U);
    EXPECT_EQ(model.substr(0, 5), "<?xml");
    EXPECT_EQ(ReadZipEntry(archive, ".model", 100), model.substr(0, 100));
}

TEST(ReadZipEntry, SurvivesDamage) {
    const std::string archive = tool_test::ReadBytes(ASSIMP_MODELS "/3MF/box.3mf");
    for (std::size_t at = 0; at < archive.size(); ++at) {
        std::string damaged = archive;
        damaged[at] = static_cast<char>(~damaged[at]);
        EXPECT_LE(ReadZipEntry(damaged, ".model", 4096).size(), 4096U);
        EXPECT_EQ(ReadZipEntry(archive.substr(0, at), ".model", 4096), "") << at;
    }
}

} // namespace
