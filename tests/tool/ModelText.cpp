// Writers of simple model formats, and the folder that holds what they write.
#include "ModelText.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <vector>
#include <zlib.h>

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

std::string Base64(const std::string& bytes) {
    constexpr std::string_view kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t word = 0;
        for (std::size_t k = i; k < i + 3; ++k) {
            word = word << 8U | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0U);
        }
        for (unsigned int k = 0; k < 4; ++k) {
            text += i + k > bytes.size() ? '=' : kLetters[word >> (18 - 6 * k) & 63U];
        }
    }
    return text;
}

/// A little-endian number of two bytes.
std::string Half(std::size_t value) {
    return {static_cast<char>(value & 0xFFU), static_cast<char>(value >> 8U & 0xFFU)};
}

std::string Word(std::size_t value) {
    return Half(value & 0xFFFFU) + Half(value >> 16U);
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

std::string Replaced(std::string text, const std::string& part, const std::string& replacement) {
    std::size_t at = text.find(part);
    if (at == std::string::npos) {
        throw std::runtime_error("nothing to replace: " + part);
    }
    for (; at != std::string::npos; at = text.find(part, at + replacement.size())) {
        text.replace(at, part.size(), replacement);
    }
    return text;
}

kxcontour::ModelRequest FileRequest(const std::string& path) {
    kxcontour::ModelRequest request;
    request.path = path;
    return request;
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

std::string GltfBuffer(const MeshData& data) {
    std::string bytes;
    for (const Point& p : data.positions) {
        Append(bytes, p, false);
    }
    for (const unsigned int index : data.indices) {
        Append(bytes, index, false);
    }
    return bytes;
}

std::string GltfText(const MeshData& data,
                     const std::string& nodes,
                     const std::string& meshes,
                     const std::string& buffer) {
    const std::string bytes = GltfBuffer(data);
    const std::size_t positionBytes = data.positions.size() * sizeof(Point);
    const std::string uri =
        buffer.empty() ? "data:application/octet-stream;base64," + Base64(bytes) : buffer;
    std::ostringstream text = TextStream();
    text << R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":)" << nodes
         << R"(,"meshes":)" << meshes << R"(,"accessors":[{"bufferView":0,"componentType":5126,)"
         << R"("type":"VEC3","count":)" << data.positions.size()
         << R"(},{"bufferView":1,"componentType":5125,"type":"SCALAR","count":)"
         << data.indices.size() << R"(}],"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":)"
         << positionBytes << R"(},{"buffer":0,"byteOffset":)" << positionBytes
         << R"(,"byteLength":)" << bytes.size() - positionBytes << R"(}],"buffers":[{"byteLength":)"
         << bytes.size() << R"(,"uri":")" << uri << R"("}]})";
    return text.str();
}

std::string ModelOf3mf(const MeshData& data, const std::string& attributes) {
    std::ostringstream text = TextStream();
    text << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model " << attributes
         << " xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"><resources>"
            "<object id=\"1\" type=\"model\"><mesh><vertices>";
    for (const Point& p : data.positions) {
        text << "<vertex x=\"" << p[0] << "\" y=\"" << p[1] << "\" z=\"" << p[2] << "\"/>";
    }
    text << "</vertices><triangles>";
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "<triangle v1=\"" << data.indices[i] << "\" v2=\"" << data.indices[i + 1]
             << "\" v3=\"" << data.indices[i + 2] << "\"/>";
    }
    text << "</triangles></mesh></object></resources><build><item objectid=\"1\"/></build></model>";
    return text.str();
}

std::string ZipBytes(const std::vector<std::pair<std::string, std::string>>& files) {
    std::string archive;
    std::string directory;
    for (const auto& [name, bytes] : files) {
        const auto sum = ::crc32(0, reinterpret_cast<const Bytef*>(bytes.data()),
                                 static_cast<uInt>(bytes.size()));
        // Version 2.0, no flags, stored, no date; the sizes; the lengths of name and extra field.
        std::string common = Half(20);
        common.append(Half(0)).append(Half(0)).append(Word(0)).append(Word(sum));
        common.append(Word(bytes.size())).append(Word(bytes.size()));
        common.append(Half(name.size())).append(Half(0));
        directory.append("PK\1\2").append(Half(20)).append(common);
        directory.append(Half(0)).append(Half(0)).append(Half(0)).append(Word(0));
        directory.append(Word(archive.size())).append(name);
        archive.append("PK\3\4").append(common).append(name).append(bytes);
    }
    return archive + directory + "PK\5\6" + Word(0) + Half(files.size()) + Half(files.size()) +
           Word(directory.size()) + Word(archive.size()) + Half(0);
}

std::string Bytes3mf(const std::string& model) {
    return ZipBytes(
        {{"_rels/.rels",
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Relationships "
          "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
          "Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
          "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/>"
          "</Relationships>"},
         {"3D/3dmodel.model", model}});
}

std::string AmfText(const MeshData& data, const std::string& attributes) {
    std::ostringstream text = TextStream();
    text << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<amf " << attributes
         << " version=\"1.1\"><object id=\"0\"><mesh><vertices>";
    for (const Point& p : data.positions) {
        text << "<vertex><coordinates><x>" << p[0] << "</x><y>" << p[1] << "</y><z>" << p[2]
             << "</z></coordinates></vertex>";
    }
    text << "</vertices><volume>";
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "<triangle><v1>" << data.indices[i] << "</v1><v2>" << data.indices[i + 1]
             << "</v2><v3>" << data.indices[i + 2] << "</v3></triangle>";
    }
    text << "</volume></mesh></object></amf>\n";
    return text.str();
}

std::string X3dText(const std::string& size, const std::string& head) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<X3D profile=\"Immersive\" "
           "version=\"3.3\"><head>" +
           head + "</head><Scene><Shape><Box size=\"" + size + "\"/></Shape></Scene></X3D>\n";
}

std::string CombObj(int corners) {
    std::string text;
    std::string face = "f";
    for (int i = 0; i < corners; ++i) {
        text += "v " + std::to_string(i) + ' ' + std::to_string(i % 2 == 0 ? i % 977 : -5 - i % 7) +
                " 0\n";
        face += ' ' + std::to_string(i + 1);
    }
    return text + face + '\n';
}

std::string DxfText(const MeshData& data, const std::string& header) {
    std::ostringstream text = TextStream();
    text << "  0\nSECTION\n  2\nHEADER\n" << header << "  0\nENDSEC\n  0\nSECTION\n  2\nENTITIES\n";
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text << "  0\n3DFACE\n  8\nlayer\n";
        for (std::size_t k = 0; k < 4; ++k) {
            // A triangle is a face of four corners whose last two are one.
            const Point& p = Corner(data, i + (k < 3 ? k : 2));
            for (int axis = 0; axis < 3; ++axis) {
                text << ' ' << 10 * (axis + 1) + static_cast<int>(k) << '\n' << p[axis] << '\n';
            }
        }
    }
    text << "  0\nENDSEC\n  0\nEOF\n";
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
