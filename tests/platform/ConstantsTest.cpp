// The constants of the vector library: their required bits, and those of the packaged library.
#include <Wm4Foundation.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <string>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SANITIZER
#endif
#endif

namespace {

using Wm4::Math;
using Wm4::Matrix4;
using Wm4::Vector2;
using Wm4::Vector3;
using Wm4::Vector4;

template <typename Bits, typename Real> Bits BitsOf(Real value) {
    static_assert(sizeof(Bits) == sizeof(Real));
    Bits bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

template <typename T> std::string BytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

struct Number {
    std::string name;
    const float* single;
    std::uint32_t singleBits;
    const double* twice;
    std::uint64_t twiceBits;
};

const Number kNumbers[] = {
    {"EPSILON", &Wm4::Math<float>::EPSILON, 0x34000000U, &Wm4::Math<double>::EPSILON,
     0x3CB0000000000000UL},
    {"ZERO_TOLERANCE", &Wm4::Math<float>::ZERO_TOLERANCE, 0x358637BDU,
     &Wm4::Math<double>::ZERO_TOLERANCE, 0x3E45798EE2308C3AUL},
    {"MAX_REAL", &Wm4::Math<float>::MAX_REAL, 0x7F7FFFFFU, &Wm4::Math<double>::MAX_REAL,
     0x7FEFFFFFFFFFFFFFUL},
    {"PI", &Wm4::Math<float>::PI, 0x40490FDBU, &Wm4::Math<double>::PI, 0x400921FB54442D18UL},
    {"TWO_PI", &Wm4::Math<float>::TWO_PI, 0x40C90FDBU, &Wm4::Math<double>::TWO_PI,
     0x401921FB54442D18UL},
    {"HALF_PI", &Wm4::Math<float>::HALF_PI, 0x3FC90FDBU, &Wm4::Math<double>::HALF_PI,
     0x3FF921FB54442D18UL},
    {"INV_PI", &Wm4::Math<float>::INV_PI, 0x3EA2F983U, &Wm4::Math<double>::INV_PI,
     0x3FD45F306DC9C883UL},
    {"INV_TWO_PI", &Wm4::Math<float>::INV_TWO_PI, 0x3E22F983U, &Wm4::Math<double>::INV_TWO_PI,
     0x3FC45F306DC9C883UL},
    {"DEG_TO_RAD", &Wm4::Math<float>::DEG_TO_RAD, 0x3C8EFA35U, &Wm4::Math<double>::DEG_TO_RAD,
     0x3F91DF46A2529D39UL},
    {"RAD_TO_DEG", &Wm4::Math<float>::RAD_TO_DEG, 0x42652EE0U, &Wm4::Math<double>::RAD_TO_DEG,
     0x404CA5DC1A63C1F8UL},
    {"LN_2", &Wm4::Math<float>::LN_2, 0x3F317218U, &Wm4::Math<double>::LN_2, 0x3FE62E42FEFA39EFUL},
    {"LN_10", &Wm4::Math<float>::LN_10, 0x40135D8EU, &Wm4::Math<double>::LN_10,
     0x40026BB1BBB55516UL},
    {"INV_LN_2", &Wm4::Math<float>::INV_LN_2, 0x3FB8AA3BU, &Wm4::Math<double>::INV_LN_2,
     0x3FF71547652B82FEUL},
    {"INV_LN_10", &Wm4::Math<float>::INV_LN_10, 0x3EDE5BD8U, &Wm4::Math<double>::INV_LN_10,
     0x3FDBCB7B1526E50DUL},
    {"SQRT_2", &Wm4::Math<float>::SQRT_2, 0x3FB504F3U, &Wm4::Math<double>::SQRT_2,
     0x3FF6A09E667F3BCDUL},
    {"INV_SQRT_2", &Wm4::Math<float>::INV_SQRT_2, 0x3F3504F3U, &Wm4::Math<double>::INV_SQRT_2,
     0x3FE6A09E60000000UL},
    {"SQRT_3", &Wm4::Math<float>::SQRT_3, 0x3FDDB3D7U, &Wm4::Math<double>::SQRT_3,
     0x3FFBB67AE8584CAAUL},
    {"INV_SQRT_3", &Wm4::Math<float>::INV_SQRT_3, 0x3F13CD3AU, &Wm4::Math<double>::INV_SQRT_3,
     0x3FE279A740000000UL},
};

TEST(Constants, NumbersHaveTheirBits) {
    for (const Number& number : kNumbers) {
        EXPECT_EQ(BitsOf<std::uint32_t>(*number.single), number.singleBits) << number.name;
        EXPECT_EQ(BitsOf<std::uint64_t>(*number.twice), number.twiceBits) << number.name;
    }
}

TEST(Constants, VectorsAndMatricesHaveTheirValues) {
    EXPECT_EQ(Vector2<float>::UNIT_Y, Vector2<float>(0.0F, 1.0F));
    EXPECT_EQ(Vector3<double>::UNIT_Z, Vector3<double>(0.0, 0.0, 1.0));
    EXPECT_EQ(Vector3<float>::ONE, Vector3<float>(1.0F, 1.0F, 1.0F));
    EXPECT_EQ(Vector4<double>::UNIT_W, Vector4<double>(0.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(Matrix4<float>::IDENTITY, Matrix4<float>(false));
    EXPECT_EQ(Matrix4<double>::ZERO, Matrix4<double>(true));
}

const Vector3<float> kMadeWithTheProgram = Vector3<float>::ONE * Math<float>::LN_10;

TEST(Constants, AreThereForWhatAProgramMakesBeforeMain) {
    EXPECT_EQ(kMadeWithTheProgram.Z(), Math<float>::LN_10);
}

TEST(Constants, TheInlineOperationsFindThem) {
    Vector3<float> vector(3.0F, 0.0F, 4.0F);
    EXPECT_EQ(vector.Normalize(), 5.0F);
    EXPECT_EQ(Matrix4<float>(true).Inverse(), Matrix4<float>::ZERO);
    EXPECT_EQ(Vector2<float>(1.0F, 2.0F) / 0.0F,
              Vector2<float>(Math<float>::MAX_REAL, Math<float>::MAX_REAL));
    EXPECT_EQ(Math<double>::ACos(-2.0), Math<double>::PI);
}

// Sanitizers allow no library with names of its own.
#ifndef HAS_SANITIZER

// The packaged library beside the program, its names its own: what it writes when it is loaded may
// not land in this program's constants.
class PackagedConstants : public testing::Test {
protected:
    void SetUp() override {
        library_ = dlopen("libWm5Mathematics.so.5", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
        ASSERT_TRUE(library_) << "libwildmagic-dev brings it";
    }

    ~PackagedConstants() override {
        if (library_) {
            dlclose(library_);
        }
    }

    // The constant of a mangled name; `kind` is that of the template, such as 4Math.
    template <typename T>
    const T* find(const std::string& kind, const char* real, const std::string& name) {
        const std::string symbol =
            "_ZN3Wm5" + kind + "I" + real + "E" + std::to_string(name.size()) + name + "E";
        return static_cast<const T*>(dlsym(library_, symbol.c_str()));
    }

    template <typename T>
    void expectTheSame(const T& own, const std::string& kind, const char* real, const char* name) {
        const T* packaged = find<T>(kind, real, name);
        ASSERT_TRUE(packaged) << kind << name;
        EXPECT_NE(packaged, &own);
        EXPECT_EQ(BytesOf(*packaged), BytesOf(own)) << kind << real << name;
    }

    template <typename Real> void expectTheSameShapes(const char* real) {
        expectTheSame(Vector2<Real>::ZERO, "7Vector2", real, "ZERO");
        expectTheSame(Vector2<Real>::UNIT_X, "7Vector2", real, "UNIT_X");
        expectTheSame(Vector2<Real>::UNIT_Y, "7Vector2", real, "UNIT_Y");
        expectTheSame(Vector2<Real>::ONE, "7Vector2", real, "ONE");
        expectTheSame(Vector3<Real>::ZERO, "7Vector3", real, "ZERO");
        expectTheSame(Vector3<Real>::UNIT_X, "7Vector3", real, "UNIT_X");
        expectTheSame(Vector3<Real>::UNIT_Y, "7Vector3", real, "UNIT_Y");
        expectTheSame(Vector3<Real>::UNIT_Z, "7Vector3", real, "UNIT_Z");
        expectTheSame(Vector3<Real>::ONE, "7Vector3", real, "ONE");
        expectTheSame(Vector4<Real>::ZERO, "7Vector4", real, "ZERO");
        expectTheSame(Vector4<Real>::UNIT_X, "7Vector4", real, "UNIT_X");
        expectTheSame(Vector4<Real>::UNIT_Y, "7Vector4", real, "UNIT_Y");
        expectTheSame(Vector4<Real>::UNIT_Z, "7Vector4", real, "UNIT_Z");
        expectTheSame(Vector4<Real>::UNIT_W, "7Vector4", real, "UNIT_W");
        expectTheSame(Vector4<Real>::ONE, "7Vector4", real, "ONE");
        expectTheSame(Matrix4<Real>::ZERO, "7Matrix4", real, "ZERO");
        expectTheSame(Matrix4<Real>::IDENTITY, "7Matrix4", real, "IDENTITY");
    }

private:
    void* library_ = nullptr;
};

TEST_F(PackagedConstants, HaveTheSameBits) {
    for (const Number& number : kNumbers) {
        expectTheSame(*number.single, "4Math", "f", number.name.c_str());
        expectTheSame(*number.twice, "4Math", "d", number.name.c_str());
    }
    expectTheSameShapes<float>("f");
    expectTheSameShapes<double>("d");
}

#endif

} // namespace
