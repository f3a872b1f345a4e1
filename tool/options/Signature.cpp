// Words of "name=value" with a blank between; numbers are the shortest texts that read as the same.
#include "options/Signature.h"

#include <ctr/Version.h>

#include "options/Values.h"

#include <cstddef>

namespace kxcontour {
namespace {

/// A text as one word, told from every other: what is not printable ASCII, and what separates
/// words and members of lists, becomes %XX.
std::string Word(const std::string& text) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string word;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte <= ' ' || byte > '~' || letter == '%' || letter == ',') {
            word += {'%', kDigits[byte / 16], kDigits[byte % 16]};
        } else {
            word += letter;
        }
    }
    return word;
}

class SignatureText {
public:
    void add(const char* name, const std::string& word) {
        text_ += (text_.empty() ? "" : " ") + std::string(name) + "=" + word;
    }
    void add(const char* name, double value) { add(name, NumberText(value)); }
    void add(const char* name, bool value) { add(name, std::string(value ? "yes" : "no")); }
    void add(const char* name, const Wm4::Vector3<double>& point) {
        add(name, std::vector<double>{point.X(), point.Y(), point.Z()});
    }
    void add(const char* name, const std::vector<double>& numbers) {
        std::string list;
        for (const double number : numbers) {
            list += (list.empty() ? "" : ",") + NumberText(number);
        }
        add(name, list);
    }
    void addText(const char* name, const std::optional<std::string>& text) {
        // An empty text is not the same as none.
        if (text) {
            add(name, "'" + Word(*text) + "'");
        }
    }
    void addFiles(const char* name, const std::vector<std::string>& files) {
        std::string list;
        for (const std::string& file : files) {
            list += (list.empty() ? "" : ",") + Word(file);
        }
        add(name, list);
    }
    template <class Value> void addIf(const char* name, const std::optional<Value>& value) {
        if (value) {
            add(name, *value);
        }
    }
    template <class Enum> void addName(const char* name, Enum value) {
        add(name, std::to_string(static_cast<int>(value)));
    }

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

void AddInput(SignatureText& text, const InputOptions& input) {
    text.addFiles("models", input.models);
    text.addFiles("occluders", input.occluders);
    text.addText("format", input.format);
    if (input.unit) {
        text.addName("unit", *input.unit);
    }
    if (input.up) {
        text.addName("up", *input.up);
    }
    text.addName("weld", input.weld.mode);
    text.add("weldLength", input.weld.millimetres);
    if (!input.reading.sideFiles.empty()) {
        text.addText("sideFiles", input.reading.sideFiles);
    }
}

void AddCamera(SignatureText& text, const CameraRequest& camera) {
    text.addName("view", camera.view);
    text.addIf("azimuth", camera.azimuth);
    text.addIf("elevation", camera.elevation);
    text.add("roll", camera.roll);
    text.addIf("position", camera.position);
    text.addIf("focal", camera.focalPoint);
    text.addIf("viewUp", camera.viewUp);
    text.addName("projection", camera.projection);
    text.add("fov", camera.fieldOfView);
    text.addText("fit", camera.fitObject);
    text.add("zoom", camera.zoom);
    text.addIf("scale", camera.scale);
}

void AddSheet(SignatureText& text, const PageOptions& page) {
    std::vector<double> views;
    for (const View view : page.views) {
        views.push_back(static_cast<double>(view));
    }
    if (!views.empty()) {
        text.add("sheet", views);
        text.addName("arrangement", page.arrangement);
    }
}

void AddStyle(SignatureText& text, const char* name, const StrokeStyle& style) {
    std::vector<double> numbers{style.width};
    numbers.insert(numbers.end(), style.color.begin(), style.color.end());
    numbers.insert(numbers.end(), style.dashes.begin(), style.dashes.end());
    text.add(name, numbers);
}

void AddLines(SignatureText& text, const LineOptions& lines) {
    text.add("silhouettes", lines.silhouettes);
    text.add("creases", lines.creases);
    text.add("intersections", lines.intersections);
    text.add("hidden", lines.hidden);
    text.addIf("creaseAngle", lines.creaseAngle);
    AddStyle(text, "silhouetteStyle", lines.styles.silhouette);
    AddStyle(text, "creaseStyle", lines.styles.crease);
    AddStyle(text, "intersectionStyle", lines.styles.intersection);
    AddStyle(text, "hiddenStyle", lines.styles.hidden);
    text.add("minLength", lines.minLength);
}

void AddOutput(SignatureText& text, const OutputOptions& output) {
    text.addText("output", output.path);
    text.addName("format", output.format);
    text.addName("layering", output.layering);
    text.addIf("arcs", output.arcTolerance);
    if (output.format == OutputFormat::Png) {
        text.add("dpi", output.dotsPerInch);
    }
    text.addText("title", output.title);
    text.addText("description", output.description);
}

} // namespace

std::string SignatureOf(const DrawingOptions& options) {
    SignatureText text;
    text.add("version",
             Word(kxContouringLib::Version::GetDescStringMajorMinorReleaseRevision(true, true)));
    AddInput(text, options.input);
    AddCamera(text, options.camera);
    text.add("page", std::vector<double>{options.page.size.width, options.page.size.height,
                                         options.page.margin});
    AddSheet(text, options.page);
    AddLines(text, options.lines);
    AddOutput(text, options.output);
    return text.text();
}

} // namespace kxcontour
