// Minimal polynomial by elimination over the powers of A, the planes folded chunk by chunk, and
// the remainders evaluated at A with the step itself.
#include "crc/PlaneSteps.h"

#include <bit>

#include "crc/BytePlanes.h"
#include "crc/CrcPath.h"
#include "crc/Fold.h"

namespace tn::crc {

namespace {

constexpr std::size_t kChunk = 32768;                 // input bytes per round of planes
constexpr std::size_t kPlaneBytes = kChunk / 8;       // bytes of one plane per round
constexpr std::size_t kMinChunk = 8 * kFoldMinBytes;  // the fold's own minimum, in input bytes
constexpr int kMaxDegree = kRegisterBits;

struct Polynomial {
    int degree;
    std::uint64_t bits;  // bit k: coefficient of z^k, the top one included
};

std::uint32_t Advance(const StepShape& s, std::uint32_t c) {
    return Step(s, c, 0, 0);
}

// A matrix of the register (column j is the image of bit j) seen as one long bit vector.
struct Matrix {
    std::uint32_t column[kRegisterBits];
};

// The least k with A^k a combination of I .. A^(k-1): Gaussian elimination that remembers, for
// each reduced power, which powers it is made of.
Polynomial Minimal(const StepShape& s, int width) {
    struct Row {
        Matrix m;
        std::uint64_t made;
        int pivot;
    };
    Row basis[kMaxDegree + 1];
    int rows = 0;
    Matrix power{};
    for (int j = 0; j < width; ++j)
        power.column[j] = 1U << j;
    for (int k = 0; k <= width; ++k) {
        Row r{power, std::uint64_t{1} << k, -1};
        for (int i = 0; i < rows; ++i) {
            const int word = basis[i].pivot / kRegisterBits, bit = basis[i].pivot % kRegisterBits;
            if (((r.m.column[word] >> bit) & 1U) == 0) continue;
            for (int j = 0; j < width; ++j)
                r.m.column[j] ^= basis[i].m.column[j];
            r.made ^= basis[i].made;
        }
        for (int j = 0; j < width && r.pivot < 0; ++j) {
            if (r.m.column[j] != 0) r.pivot = j * kRegisterBits + std::countr_zero(r.m.column[j]);
        }
        if (r.pivot < 0) return {k, r.made};
        basis[rows++] = r;
        for (int j = 0; j < width; ++j)
            power.column[j] = Advance(s, power.column[j]);
    }
    return {width, 0};  // not reached: Cayley-Hamilton bounds the degree by the width
}

std::uint64_t TimesZ(std::uint64_t a, const Polynomial& q) {
    a <<= 1;
    return ((a >> q.degree) & 1U) != 0 ? a ^ q.bits : a;
}

// z^e mod Q, by squaring.
std::uint64_t PowerOfZ(std::uint64_t e, const Polynomial& q) {
    std::uint64_t r = q.degree > 0 ? 1 : 0;
    for (int bit = 63; bit >= 0; --bit) {
        std::uint64_t square = 0;
        for (int i = q.degree - 1; i >= 0; --i) {
            square = TimesZ(square, q);
            if (((r >> i) & 1U) != 0) square ^= r;
        }
        r = ((e >> bit) & 1U) != 0 ? TimesZ(square, q) : square;
    }
    return r;
}

// R(A) v, R of degree below Q's.
std::uint32_t Evaluate(const StepShape& s, std::uint64_t r, int degree, std::uint32_t v) {
    std::uint32_t sum = 0;
    for (int k = 0; k < degree; ++k, v = Advance(s, v)) {
        if (((r >> k) & 1U) != 0) sum ^= v;
    }
    return sum;
}

std::uint64_t Reversed(std::uint32_t v, int bits) {
    std::uint64_t r = 0;
    for (int i = 0; i < bits; ++i)
        r |= std::uint64_t{(v >> i) & 1U} << (bits - 1 - i);
    return r;
}

}  // namespace

bool RunByPlanes(const StepShape& s, const SliceTables& slices, int width, std::uint32_t& c,
                 const std::uint8_t* p, std::size_t n, std::uint8_t byteXor) {
    if (n < kPlanesMinBytes || width < 1 || width > kRegisterBits) return false;
    const CrcPath path = ActiveCrcPath();
    if (path == CrcPath::kPortable) return false;
    const bool wide = path == CrcPath::kVpclmul;
    const Polynomial q = Minimal(s, width);
    const std::uint64_t low = q.bits & ~(std::uint64_t{1} << q.degree);
    const FoldConstants k = MakeFoldConstants(q.degree, static_cast<std::uint32_t>(low), true);
    // The head goes through the planes; the tail (at least `degree` bytes) through the tables.
    std::size_t head = (n - static_cast<std::size_t>(q.degree)) / kPlaneGroup * kPlaneGroup;
    std::uint32_t planeRegister[kPlanes] = {};
    std::uint8_t planes[kPlanes * kPlaneBytes];
    std::size_t done = 0;
    while (done < head) {
        const std::size_t len = head - done < kChunk ? head - done : kChunk;
        if (len < kMinChunk) {
            head = done;
            break;
        }
        SplitPlanes(p + done, len, byteXor, planes, kPlaneBytes, wide);
        for (int m = 0; m < kPlanes; ++m) {
            if (FoldPrefix(k.word, {0, 0}, planeRegister[m], planes + m * kPlaneBytes, len / 8) !=
                len / 8)
                return false;
        }
        done += len;
    }
    // A^degree times the register after the head: the planes' remainders carry that factor.
    std::uint32_t r =
        Evaluate(s, PowerOfZ(head + static_cast<std::size_t>(q.degree), q), q.degree, c);
    for (int m = 0; m < kPlanes; ++m) {
        const std::uint32_t bitImage = Step(s, 0, static_cast<std::uint8_t>(1U << m), 0);
        r ^= Evaluate(s, Reversed(planeRegister[m], q.degree), q.degree, bitImage);
    }
    const std::size_t tail = n - head;
    for (std::size_t i = static_cast<std::size_t>(q.degree); i < tail; ++i)
        r = Advance(s, r);
    c = r ^ RunSliced(s, slices, 0, p + head, tail, byteXor);
    return true;
}

}  // namespace tn::crc
