// Machine parts: gears in a train, bolts through their bores, springs under some of the heads.
//
// Every part is a lattice of rows and columns that is closed along its columns. The rows of a gear
// are closed as well; those of springs and bolts end in one point on either side.
#include "bench/scenes/Scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bench {
namespace {

using Vector = std::array<double, 3>;

constexpr double kTurn = 2.0 * 3.14159265358979323846;

Point Rounded(const Vector& p) {
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

/// A point of a cylinder about an upright axis.
Vector Around(const Vector& axis, double radius, double angle, double height) {
    return {axis[0] + radius * std::cos(angle), axis[1] + radius * std::sin(angle),
            axis[2] + height};
}

/// Collects the rows of a lattice; each has the same number of points, the last beside the first.
class Lattice {
public:
    Lattice(std::string name, std::uint32_t columns) : columns_(columns) {
        part_.name = std::move(name);
    }

    void add(const Vector& p) { part_.positions.push_back(Rounded(p)); }

    /// The body when the last row is beside the first.
    Part closeRows() {
        const std::uint32_t rows = rowCount();
        for (std::uint32_t row = 0; row < rows; ++row) {
            joinRows(row, (row + 1) % rows);
        }
        return std::move(part_);
    }

    /// The body when a point ends it at either side.
    Part capRows(const Vector& first, const Vector& last) {
        const std::uint32_t rows = rowCount();
        for (std::uint32_t row = 0; row + 1 < rows; ++row) {
            joinRows(row, row + 1);
        }
        const std::uint32_t pole = rows * columns_;
        add(first);
        add(last);
        for (std::uint32_t column = 0; column < columns_; ++column) {
            const std::uint32_t next = (column + 1) % columns_;
            const std::uint32_t end = (rows - 1) * columns_;
            part_.triangles.push_back({pole, column, next});
            part_.triangles.push_back({pole + 1, end + next, end + column});
        }
        return std::move(part_);
    }

private:
    std::uint32_t rowCount() const {
        return static_cast<std::uint32_t>(part_.positions.size()) / columns_;
    }

    void joinRows(std::uint32_t row, std::uint32_t nextRow) {
        for (std::uint32_t column = 0; column < columns_; ++column) {
            const std::uint32_t next = (column + 1) % columns_;
            const std::uint32_t a = row * columns_ + column;
            const std::uint32_t b = row * columns_ + next;
            const std::uint32_t c = nextRow * columns_ + next;
            const std::uint32_t d = nextRow * columns_ + column;
            part_.triangles.push_back({a, c, b});
            part_.triangles.push_back({a, d, c});
        }
    }

    Part part_;
    std::uint32_t columns_;
};

// Gears.

constexpr double kModule = 0.2; ///< Pitch diameter over teeth.
constexpr double kThickness = 1.2;

struct Gear {
    unsigned int teeth;
    double bore;
    Vector middle; ///< Of its lower face.

    double pitchRadius() const { return kModule * teeth / 2.0; }
};

/// The outline of a tooth with straight flanks; phase runs from 0 to 1 from gap to gap.
double ToothRadius(const Gear& gear, double phase) {
    const double root = gear.pitchRadius() - 1.25 * kModule;
    const double tip = gear.pitchRadius() + kModule;
    const double rise =
        std::abs(phase - 0.5) < 0.125 ? 1.0 : (0.375 - std::abs(phase - 0.5)) / 0.25;
    return root + (tip - root) * std::max(0.0, rise);
}

/// One row per step along the outline, its points around the ring's section: out along the lower
/// face, up the teeth, in along the upper face, down the bore.
Part MakeGear(const std::string& name, const Gear& gear, unsigned int fineness) {
    const unsigned int perTooth = 16 * fineness;
    const unsigned int across = 5 * fineness;
    const unsigned int up = 4 * fineness;
    Lattice lattice(name, 2 * (across + up));
    for (unsigned int row = 0; row < gear.teeth * perTooth; ++row) {
        const double angle = kTurn * row / (gear.teeth * perTooth);
        const double outer = ToothRadius(gear, static_cast<double>(row % perTooth) / perTooth);
        const double width = outer - gear.bore;
        const auto add = [&](double out, double height) {
            lattice.add(Around(gear.middle, gear.bore + width * out, angle, kThickness * height));
        };
        for (unsigned int i = 0; i < across; ++i) {
            add(static_cast<double>(i) / across, 0.0);
        }
        for (unsigned int i = 0; i < up; ++i) {
            add(1.0, static_cast<double>(i) / up);
        }
        for (unsigned int i = 0; i < across; ++i) {
            add(1.0 - static_cast<double>(i) / across, 1.0);
        }
        for (unsigned int i = 0; i < up; ++i) {
            add(0.0, 1.0 - static_cast<double>(i) / up);
        }
    }
    return lattice.closeRows();
}

// Springs.

constexpr double kCoils = 6.0;

struct Spring {
    Vector foot; ///< On its axis, at the height of the wire's middle at its lower end.
    double radius;
    double wire; ///< Radius.
    double height;
};

Part MakeSpring(const std::string& name, const Spring& spring, unsigned int fineness) {
    const unsigned int rows = 600 * fineness;
    const unsigned int columns = 20 * fineness;
    const double rise = spring.height / (kTurn * spring.radius * kCoils);
    const double along = 1.0 / std::sqrt(1.0 + rise * rise);
    const auto middle = [&](unsigned int row) {
        return Around(spring.foot, spring.radius, kTurn * kCoils * row / rows,
                      spring.height * row / rows);
    };
    Lattice lattice(name, columns);
    for (unsigned int row = 0; row <= rows; ++row) {
        const double angle = kTurn * kCoils * row / rows;
        const Vector center = middle(row);
        for (unsigned int column = 0; column < columns; ++column) {
            // The wire's section spans the outward direction and the one perpendicular to it and to
            // the coil.
            const double turn = kTurn * column / columns;
            const double out = spring.wire * std::cos(turn);
            const double up = spring.wire * std::sin(turn);
            lattice.add({center[0] + out * std::cos(angle) + up * rise * along * std::sin(angle),
                         center[1] + out * std::sin(angle) - up * rise * along * std::cos(angle),
                         center[2] + up * along});
        }
    }
    return lattice.capRows(middle(0), middle(rows));
}

// Bolts.

struct Bolt {
    Vector seat;  ///< On its axis, under the head.
    double shank; ///< Radius.
    double plain; ///< Length without a thread.
    double threaded;
};

/// Distance of a hexagon's outline from its middle, for one whose flats are 1 away.
double HexagonRadius(double angle) {
    const double sixth = kTurn / 6.0;
    return 1.0 / std::cos(std::fmod(angle, sixth) - sixth / 2.0);
}

/// The depth of the thread, from 0 to 1 and back once per pitch; pitches are counted by phase.
double ThreadDepth(double phase) {
    return 2.0 * std::abs(phase - std::floor(phase) - 0.5);
}

/// Makes the rows from the top of the head downwards.
class BoltMaker {
public:
    BoltMaker(const std::string& name, const Bolt& bolt, unsigned int fineness)
        : bolt_(bolt), fineness_(fineness), columns_(48 * fineness), lattice_(name, columns_) {}

    Part make() {
        const double flats = 1.7 * bolt_.shank;
        const double head = 1.3 * bolt_.shank;
        const double end = -bolt_.plain - bolt_.threaded;
        const unsigned int ring = 3 * fineness_;
        for (unsigned int i = 1; i < ring; ++i) {
            addHexagon(flats * i / ring, head);
        }
        for (unsigned int i = 0; i <= ring; ++i) {
            addHexagon(flats, head * (ring - i) / ring);
        }
        addPlain();
        addThread();
        for (unsigned int i = 1; i < ring; ++i) {
            addCircle(0.9 * bolt_.shank * (ring - i) / ring, end);
        }
        return lattice_.capRows(Around(bolt_.seat, 0.0, 0.0, head),
                                Around(bolt_.seat, 0.0, 0.0, end));
    }

private:
    static constexpr unsigned int kPitches = 8;

    double angleOf(unsigned int column) const { return kTurn * column / columns_; }

    void addHexagon(double flats, double height) {
        for (unsigned int column = 0; column < columns_; ++column) {
            const double angle = angleOf(column);
            lattice_.add(Around(bolt_.seat, flats * HexagonRadius(angle), angle, height));
        }
    }

    void addCircle(double radius, double height) {
        for (unsigned int column = 0; column < columns_; ++column) {
            lattice_.add(Around(bolt_.seat, radius, angleOf(column), height));
        }
    }

    void addPlain() {
        const unsigned int rows = 6 * fineness_;
        for (unsigned int i = 0; i <= rows; ++i) {
            addCircle(bolt_.shank, -bolt_.plain * i / rows);
        }
    }

    /// The thread gets deeper over its first eighth; below that, the ridge is as wide as the shank.
    void addThread() {
        const unsigned int rows = kPitches * 10 * fineness_;
        for (unsigned int i = 1; i <= rows; ++i) {
            const double along = static_cast<double>(i) / rows;
            const double depth = 0.1 * bolt_.shank * std::min(1.0, 8.0 * along);
            for (unsigned int column = 0; column < columns_; ++column) {
                const double phase = kPitches * along + static_cast<double>(column) / columns_;
                const double radius = bolt_.shank - depth * ThreadDepth(phase);
                lattice_.add(Around(bolt_.seat, radius, angleOf(column),
                                    -bolt_.plain - bolt_.threaded * along));
            }
        }
    }

    const Bolt& bolt_;
    unsigned int fineness_;
    std::uint32_t columns_;
    Lattice lattice_;
};

// The machine.

/// A train in zigzag: the distance of neighbours is the sum of their pitch radii, so that teeth
/// meet. Phases are not matched, so some teeth intersect slightly. Every other gear is slightly
/// higher, so that no two faces are coplanar.
std::vector<Gear> GearTrain() {
    constexpr std::array<unsigned int, 9> kTeeth{36, 24, 30, 18, 42, 20, 28, 32, 24};
    std::vector<Gear> gears;
    for (const unsigned int teeth : kTeeth) {
        Gear gear{teeth, kModule * teeth / 8.0, {0.0, 0.0, 0.0}};
        if (!gears.empty()) {
            const Gear& before = gears.back();
            const double distance = before.pitchRadius() + gear.pitchRadius();
            const double side = gears.size() % 2 == 0 ? -1.0 : 1.0;
            gear.middle = Around(before.middle, distance, side * kTurn / 9.0, side * 0.05);
        }
        gears.push_back(gear);
    }
    return gears;
}

/// A spring is sunk slightly into the gear's face, and the bolt's head into the spring.
Spring SpringOn(const Gear& gear) {
    const double wire = 0.2 * gear.bore;
    return {Around(gear.middle, 0.0, 0.0, kThickness + 0.9 * wire), 1.5 * gear.bore, wire,
            3.2 * wire * kCoils};
}

/// The shank has some play in the bore; without a spring the head is slightly sunk.
Bolt BoltIn(const Gear& gear, const Spring* spring) {
    const double shank = 0.95 * gear.bore;
    const double seat =
        spring == nullptr ? kThickness - 0.02 : kThickness + spring->height + 1.7 * spring->wire;
    return {Around(gear.middle, 0.0, 0.0, seat), shank, seat + 0.1, 2.5};
}

} // namespace

Scene MakeGears(unsigned int fineness) {
    Scene scene;
    const std::vector<Gear> gears = GearTrain();
    for (std::size_t i = 0; i < gears.size(); ++i) {
        const std::string number = std::to_string(i);
        scene.push_back(MakeGear("gear" + number, gears[i], fineness));
        if (i + 1 == gears.size()) {
            break; // The last one has no bolt.
        }
        const Spring spring = SpringOn(gears[i]);
        const bool sprung = i % 2 == 0;
        if (sprung) {
            scene.push_back(MakeSpring("spring" + number, spring, fineness));
        }
        const Bolt bolt = BoltIn(gears[i], sprung ? &spring : nullptr);
        scene.push_back(BoltMaker("bolt" + number, bolt, fineness).make());
    }
    return scene;
}

} // namespace bench
