// Writers of simple model formats, and the folder that holds what they write.
#include "ModelText.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace tool_test {
namespace {

using test_support::MeshData;
using test_support::Point;

std::ostringstream TextStream() {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(9);
    return text;
}

void Append(std::string& bytes, std::uint32_t word, bool bigEndian) {
    for (unsigned int i = 0; i < 4; ++i) {
        const unsigned int shift = 8 * (bigEndian ? 3 - i : i);
        bytes += static_cast<char>(word >> shift & 0xFFU);
    }
}

void Append(std::string& bytes, const Point& point, bool bigEndian) {
    for (int axis = 0; axis < 3; ++axis) {
        Append(bytes, std::bit_cast<std::uint32_t>(point[axis]), bigEndian);
    }
}

std::string PlyHeader(const MeshData& data, const std::string& format) {
    return "ply\nformat " + format + " 1.0\ncomment a test\nelement vertex " +
           std::to_string(data.positions.size()) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
           std::to_string(data.triangleCount()) +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

const Point& Corner(const MeshData& data, std::size_t index) {
    return data.positions[data.indices[index]];
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kxcontour-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
}

std::string TemporaryFolder::path(const std::string& name) const {
    return (folder_ / name).string();
}

std::string TemporaryFolder::write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
}

std::size_t TemporaryFolder::entryCount() const {
    const std::filesystem::directory_iterator entries(folder_);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool Matches(const std::string& text, const std::string& pattern) {
    // Whether the first i letters have the part of the pattern that was gone through.
    std::vector<bool> reached(text.size() + 1, false);
    reached[0] = true;
    for (const char letter : pattern) {
        for (std::size_t i = text.size() + 1; letter != '*' && i-- > 0;) {
            reached[i] = i > 0 && reached[i - 1] && text[i - 1] == letter;
        }
        for (std::size_t i = 1; letter == '*' && i <= text.size(); ++i) {
            reached[i] = reached[i] || (reached[i - 1] && text[i - 1] != '\n');
        }
    }
    return reached[text.size()];
}

std::string ObjText(const MeshData& data) {
    std::ostringstream text = TextStream();
    for (const Point& p : data.positions) {
        text << "v " << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "f " << data.indices[i] + 1 << ' ' << data.indices[i + 1] + 1 << ' '
             << data.indices[i + 2] + 1 << '\n';
    }
    return text.str();
}

std::string StlText(const MeshData& data) {
    std::ostringstream text = TextStream();
    text << "solid test\n";
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "facet normal 0 0 0\nouter loop\n";
        for (std::size_t k = 0; k < 3; ++k) {
            const Point& p = Corner(data, i + k);
            text << "vertex " << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
        }
        text << "endloop\nendfacet\n";
    }
    text << "endsolid test\n";
    return text.str();
}

std::string StlBytes(const MeshData& data) {
    std::string bytes(80, ' ');
    Append(bytes, static_cast<std::uint32_t>(data.triangleCount()), false);
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        Append(bytes, Point(0, 0, 0), false);
        for (std::size_t k = 0; k < 3; ++k) {
            Append(bytes, Corner(data, i + k), false);
        }
        bytes += std::string(2, '\0');
    }
    return bytes;
}

std::string PlyText(const MeshData& data) {
    std::ostringstream text = TextStream();
    text << PlyHeader(data, "ascii");
    for (const Point& p : data.positions) {
        text << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "3 " << data.indices[i] << ' ' << data.indices[i + 1] << ' ' << data.indices[i + 2]
             << '\n';
    }
    return text.str();
}

std::string PlyBytes(const MeshData& data, bool bigEndian) {
    std::string bytes = PlyHeader(data, bigEndian ? "binary_big_endian" : "binary_little_endian");
    for (const Point& p : data.positions) {
        Append(bytes, p, bigEndian);
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        bytes += '\3';
        for (std::size_t k = 0; k < 3; ++k) {
            Append(bytes, data.indices[i + k], bigEndian);
        }
    }
    return bytes;
}

std::string OffText(const MeshData& data) {
    std::ostringstream text = TextStream();
    text << "OFF\n" << data.positions.size() << ' ' << data.triangleCount() << " 0\n";
    for (const Point& p : data.positions) {
        text << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "3 " << data.indices[i] << ' ' << data.indices[i + 1] << ' ' << data.indices[i + 2]
             << '\n';
    }
    return text.str();
}

std::string DaeText(const MeshData& data, const std::string& nodes) {
    std::ostringstream text = TextStream();
    text << "<?xml version=\"1.0\"?>\n"
            "<COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">"
            "<asset><up_axis>Y_UP</up_axis></asset><library_geometries><geometry id=\"m\"><mesh>"
            "<source id=\"p\"><float_array id=\"f\" count=\""
         << 3 * data.positions.size() << "\">";
    for (const Point& p : data.positions) {
        text << p[0] << ' ' << p[1] << ' ' << p[2] << ' ';
    }
    text << "</float_array><technique_common><accessor source=\"#f\" count=\""
         << data.positions.size()
         << "\" stride=\"3\"><param name=\"X\" type=\"float\"/><param name=\"Y\" type=\"float\"/>"
            "<param name=\"Z\" type=\"float\"/></accessor></technique_common></source>"
            "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
            "<triangles count=\""
         << data.triangleCount() << "\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><p>";
    for (const unsigned int index : data.indices) {
        text << index << ' ';
    }
    text << "</p></triangles></mesh></geometry></library_geometries><library_visual_scenes>"
            "<visual_scene id=\"s\">"
         << nodes
         << "</visual_scene></library_visual_scenes><scene><instance_visual_scene url=\"#s\"/>"
            "</scene></COLLADA>\n";
    return text.str();
}

} // namespace tool_test
