// A process whose locale writes 1,5 for one and a half draws the same bytes, with the locale of C++
// (streams) and of C (printf and strtod).
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/SVGExporter.h>

#include "faults/SmallDrawing.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using test_support::SmallScene;
using test_support::WriteDrawing;

/// The drawing of the small scene by a generator and an exporter made here and now.
std::string DrawnBytes() {
    const SmallScene scene;
    GeometricFeaturesGenerator generator;
    GeometricFeatures features;
    DrawScene(generator, scene, features);
    const std::string path = test_support::OwnPath("locale");
    ctr::SVGExporter exporter;
    EXPECT_TRUE(WriteDrawing(exporter, scene.space, features, path));
    std::string bytes = test_support::FileBytes(path);
    fs::remove(path);
    return bytes;
}

class CommaPoint : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST(DrawingCommaLocale, OfStreamsChangesNoDrawing) {
    const std::string plain = DrawnBytes();
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    std::ostringstream control;
    control << 21.5;
    const std::string drawn = DrawnBytes();
    std::locale::global(before);
    EXPECT_EQ(control.str(), "2.1,5") << "the locale does what it is meant to";
    EXPECT_TRUE(drawn == plain);
}

/// A C locale whose numbers have commas. No such locale need be installed: it is compiled into a
/// folder by localedef, which comes with the C library, from what it takes at least.
class CompiledLocale {
public:
    CompiledLocale() : folder_(testing::TempDir() + "ctr_locale_" + std::to_string(getpid())) {
        fs::create_directories(folder_);
        writeCharacters(folder_ + "/characters");
        std::ofstream(folder_ + "/source")
            << "escape_char /\nLC_NUMERIC\ndecimal_point \"<U002C>\"\n"
               "thousands_sep \"<U002E>\"\ngrouping 3;3\n"
               "END LC_NUMERIC\n";
        // It warns of all that is missing and says so with its exit code.
        compiled_ = std::system(("localedef -c -f " + folder_ + "/characters -i " + folder_ +
                                 "/source " + folder_ + "/comma >" + folder_ + "/log 2>&1")
                                    .c_str());
        setenv("LOCPATH", folder_.c_str(), 1);
        isSet_ = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    }
    ~CompiledLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
        fs::remove_all(folder_);
    }
    CompiledLocale(const CompiledLocale&) = delete;
    CompiledLocale& operator=(const CompiledLocale&) = delete;

    bool isSet() const { return isSet_; }
    int compiled() const { return compiled_; }

private:
    static void writeCharacters(const std::string& path) {
        std::ofstream file(path);
        file << "<code_set_name> ANSI_X3.4-1968\n<comment_char> %\n<escape_char> /\n"
                "<mb_cur_min> 1\n<mb_cur_max> 1\nCHARMAP\n";
        for (int code = 0; code < 128; ++code) {
            char line[32];
            std::snprintf(line, sizeof line, "<U%04X> /x%02x X\n", code, code);
            file << line;
        }
        file << "END CHARMAP\n";
    }

    std::string folder_;
    int compiled_ = -1;
    bool isSet_ = false;
};

TEST(DrawingCommaLocale, OfTheCLibraryChangesNoDrawing) {
    const std::string plain = DrawnBytes();
    const CompiledLocale comma;
    ASSERT_TRUE(comma.isSet()) << "localedef: " << comma.compiled();
    char control[8];
    std::snprintf(control, sizeof control, "%g", 1.5);
    ASSERT_STREQ(control, "1,5");
    EXPECT_TRUE(DrawnBytes() == plain);
}

} // namespace
