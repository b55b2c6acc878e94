// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

#include "field/ArrayEngine.h"
#include "field/ConvolvedElement.h"
#include "field/ElementGrid.h"
#include "field/errorLimits.h"
#include "field/pieces.h"
#include "method/PlaneTransforms.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

using Index = ElementTerms::Index;

/// The parts of a limit that the transforms' rounding and the spreading of elements may take.
constexpr double shareOfTransforms = 1.0 / 16;
constexpr double shareOfSpreading = 1.0 / 4;

/// The most bytes of the spectra of the weights that are kept, of what a thread works on, and of
/// what all of them work on.
constexpr double mostKept = 256e6;
constexpr double mostOfThread = 1e9;
constexpr double mostOfThreads = 2e9;

/// About what computations take, on one core: for a complex number of a transform along one
/// direction, per doubling of its length; for a number of a product.
constexpr double secondsOfATransform = 0.3e-9;
constexpr double secondsOfAProduct = 1e-9;

/// The longest line that is transformed, whose tables take 8 MB for each transform, and the most
/// rows of elements that have a field of their own each.
constexpr std::int64_t longestTransform = 1 << 16;
constexpr std::size_t mostRows = 1024;

/// The most lines of sheets that are computed together where they are not transformed across.
constexpr std::int64_t mostLines = 64;

/// The sheets that are computed together, and the directions of the lattice in them.
struct Sheets {
    Sheets(const ElementGrid& grid, const Index& sizes) : sizes(sizes) {
        for (const ElementGrid::Axis& axis : grid.axes()) {
            division[used] = axis.division;
            places[used] = axis.places;
            directions[used++] = axis.along;
        }
        isPlane = used == 2;
        std::size_t across = 3;
        for (std::size_t i = 0; i < 3; ++i)
            if (i != directions[0] && !isPlane && (across == 3 || sizes[i] > sizes[across]))
                across = i;
        if (!isPlane) directions[1] = across;
        past = 3 - directions[0] - directions[1];
        const std::int64_t lines = sizes[directions[1]];
        linesAtOnce = isPlane ? lines : std::min(lines, mostLines);
        parts = (lines + linesAtOnce - 1) / linesAtOnce;
    }

    /// The points of sheets in the lattice.
    LatticeBox box(std::int64_t number) const {
        LatticeBox box{{}, sizes};
        box.first[directions[1]] = number % parts * linesAtOnce;
        box.size[directions[1]] =
            std::min(linesAtOnce, sizes[directions[1]] - box.first[directions[1]]);
        box.first[past] = number / parts;
        box.size[past] = 1;
        return box;
    }

    std::int64_t count() const { return parts * sizes[past]; }

    /// The sizes of those that are not cut short by the lattice's end.
    Index tile() const {
        Index tile{1, 1, 1};
        tile[directions[0]] = sizes[directions[0]];
        tile[directions[1]] = linesAtOnce;
        return tile;
    }

    /// The numbers of those that have points in a box.
    std::vector<std::int64_t> within(const LatticeBox& box) const {
        const std::size_t across = directions[1];
        std::vector<std::int64_t> numbers;
        for (std::int64_t p = box.first[past]; p < box.first[past] + box.size[past]; ++p)
            for (std::int64_t part = box.first[across] / linesAtOnce;
                 part * linesAtOnce < box.first[across] + box.size[across]; ++part)
                numbers.push_back(p * parts + part);
        return numbers;
    }

    /// The least numbers of a plane for a transform: those of sheets and of what is added to them.
    std::array<std::int64_t, 2> leastNumbers() const {
        return {sizes[directions[0]] + places[0] - 1,
                isPlane ? sizes[directions[1]] + places[1] - 1 : linesAtOnce};
    }

    Index sizes;
    std::size_t used = 0;
    bool isPlane = false;                     ///< both directions are transformed, or the first one
    std::array<std::size_t, 2> directions{};  ///< of the lattice, in a sheet
    std::size_t past = 0;                     ///< the other one
    std::array<int, 2> division{1, 1};
    std::array<std::int64_t, 2> places{1, 1};
    std::int64_t linesAtOnce = 1;
    std::int64_t parts = 1;
};

double lengthOf(const Pose::Vector& v) { return std::hypot(v[0], v[1], v[2]); }

/// The part of a box that lies in another one.
LatticeBox commonBox(const LatticeBox& a, const LatticeBox& b) {
    LatticeBox common;
    for (std::size_t i = 0; i < 3; ++i) {
        common.first[i] = std::max(a.first[i], b.first[i]);
        common.size[i] = std::min(a.first[i] + a.size[i], b.first[i] + b.size[i]) - common.first[i];
    }
    return common;
}

/// The number that a point of the lattice has in a box.
std::ptrdiff_t numberIn(const LatticeBox& box, const Index& index) {
    return ((index[2] - box.first[2]) * box.size[1] + index[1] - box.first[1]) * box.size[0] +
           index[0] - box.first[0];
}

/// How far neighbours' numbers are apart in a box, along each direction.
std::array<std::ptrdiff_t, 3> stridesOf(const std::array<std::int64_t, 3>& sizes) {
    return {1, sizes[0], sizes[0] * sizes[1]};
}

/// The least distance of points of sheets from the elements' plane.
double distanceOf(const ElementPlane& plane, const Sheets& sheets, std::int64_t number) {
    const LatticeBox box = sheets.box(number);
    Index last = box.first;
    for (std::size_t i = 0; i < 3; ++i) last[i] += box.size[i] - 1;
    // It has no other least magnitude than at the ends, or is 0 between them.
    Index end = box.first;
    end[sheets.directions[1]] = last[sheets.directions[1]];
    const double a = plane.distanceOf(box.first);
    const double b = plane.distanceOf(end);
    return a * b <= 0 ? 0 : std::min(std::abs(a), std::abs(b));
}

/// About the part of the sheets that lie nearer to the elements' plane than a distance.
double partOfNearSheets(const ElementPlane& plane, const Sheets& sheets, double nearest) {
    constexpr std::int64_t most = 64;
    const std::int64_t every = (sheets.count() + most - 1) / most;
    std::int64_t seen = 0;
    std::int64_t near = 0;
    for (std::int64_t i = 0; i < sheets.count(); i += every, ++seen)
        if (distanceOf(plane, sheets, i) < nearest) ++near;
    return static_cast<double>(near) / static_cast<double>(std::max<std::int64_t>(1, seen));
}

/// A way to place the weights, with what it takes.
struct Choice {
    std::optional<Spreading> spreading;
    double nearest = 0;  ///< sheets that are nearer are summed up
    double seconds = std::numeric_limits<double>::infinity();
};

/// Chooses how the elements of a plane are placed on grids.
template <class K>
class GridChooser {
  public:
    GridChooser(const ConvolvedElement<K>& element, const ElementPlane& plane, double secondsOfSums)
        : element(element),
          request(element.terms()->request()),
          plane(plane),
          secondsOfSums(secondsOfSums) {}

    Choice best() const {
        Choice best;
        const auto& directions = plane.directions();
        const auto isExact = [](const auto& direction) { return direction.division.has_value(); };
        if (std::all_of(directions.begin(), directions.end(), isExact))
            best = {std::nullopt, element.nearest(), secondsOf(std::nullopt, element.nearest())};
        const bool isWhole = std::all_of(directions.begin(), directions.end(),
                                         [](const auto& d) { return d.division == 1; });
        if (isWhole || !element.spreadFace()) return best;
        const double wavelength = 2 * std::numbers::pi / request.wave.wavenumber;
        for (const double parts : {3.0, 4.0, 6.0, 8.0, 12.0, 16.0})
            for (int nodes = 4; nodes <= 16; nodes += 2) {
                const Spreading spreading{wavelength / parts, nodes};
                const double nearest = nearestOf(spreading);
                const double seconds = secondsOf(spreading, nearest);
                if (seconds < best.seconds) best = {spreading, nearest, seconds};
            }
        return best;
    }

  private:
    /// The least distance from the plane at which spreading keeps its share.
    double nearestOf(const Spreading& spreading) const {
        const ElementGrid grid(plane, request.lattice.sizes, spreading, false);
        const double k = request.wave.wavenumber;
        const Face face = *element.spreadFace();
        const double faceReach = std::hypot(face.halfX, face.halfY);
        const auto keeps = [&](double distance) {
            double error = 0;
            double reach = faceReach;
            for (const ElementGrid::Axis& axis : grid.axes()) {
                if (axis.spacing == 0) continue;
                error = spreadingError(spreading.nodes, k * axis.spacing, k * distance) +
                        sumOfFactors(spreading.nodes) * error;
                reach += axis.spacing * spreading.nodes / 2;
            }
            return farAmplitude(face) * error <=
                   element.limitAt(distance + reach, shareOfSpreading);
        };
        const double wavelength = 2 * std::numbers::pi / k;
        double distance = wavelength / 64;
        constexpr double farthest = 1e4;
        while (!keeps(distance) && distance < farthest * wavelength) distance *= 1.25;
        return distance;
    }

    double secondsOf(const std::optional<Spreading>& spreading, double nearest) const {
        const Index& sizes = request.lattice.sizes;
        constexpr double never = std::numeric_limits<double>::infinity();
        // Grids that are so much finer than the lattice take more than sums.
        constexpr double finest = 1024;
        for (const ElementPlane::Direction& direction : plane.directions()) {
            const auto [x, y, z] = direction.step;
            if (spreading && std::hypot(x, y, z) > finest * spreading->spacing) return never;
        }
        const ElementGrid grid(plane, sizes, spreading, false);
        if (grid.axes().empty() || plane.rows() > mostRows) return never;
        const Sheets sheets(grid, sizes);
        const auto least = sheets.leastNumbers();
        if (*std::max_element(least.begin(), least.end()) > longestTransform) return never;
        const double points = static_cast<double>(least[0]) * static_cast<double>(least[1]);
        const double divisions =
            static_cast<double>(sheets.division[0]) * static_cast<double>(sheets.division[1]);
        const double near = partOfNearSheets(plane, sheets, nearest);
        const auto weightings = static_cast<double>(element.terms()->weightings());
        const auto rows = static_cast<double>(plane.rows());
        const double transform = points * std::log2(points) * secondsOfATransform;
        const auto [ofAPoint, ofAnEvaluation] = element.seconds();
        const double each = rows * divisions * points * (ofAPoint + 4 * ofAnEvaluation) +
                            static_cast<double>(element.components()) *
                                ((rows * divisions + weightings) * transform +
                                 rows * divisions * weightings * points * secondsOfAProduct);
        const double all = static_cast<double>(request.lattice.box().points());
        return (1 - near) * static_cast<double>(sheets.count()) * each + near * all * secondsOfSums;
    }

    const ConvolvedElement<K>& element;
    const Request& request;
    const ElementPlane& plane;
    double secondsOfSums;
};

/// Convolves sheet by sheet of the lattice, an element's field in K with transforms in F.
template <class T, class K, class F>
class ConvolutionEngine : public ArrayEngine<T> {
  public:
    ConvolutionEngine(std::shared_ptr<const ConvolvedElement<K>> convolved,
                      std::shared_ptr<const ArrayEngine<T>> sum, const ElementPlane& plane,
                      const Choice& choice)
        : ArrayEngine<T>(convolved->terms()),
          element(std::move(convolved)),
          terms(element->terms()),
          sum(std::move(sum)),
          plane(plane),
          grid(this->plane, request().lattice.sizes, choice.spreading),
          nearest(choice.nearest),
          sheets(grid, request().lattice.sizes),
          transforms(sheets.leastNumbers(), sheets.isPlane) {
        const double share = 1 - shareOfTransforms - (choice.spreading ? shareOfSpreading : 0);
        for (std::size_t row = 0; row < plane.rows(); ++row)
            fields.push_back(
                element->on(grid.latticeOf(row), sheets.directions[0], share / grid.enlargement()));
    }

    /// Prepares the weights' spectra.
    /// @return whether rounding keeps its share
    /// @throws Stopped
    bool prepare(const Watch& watch) {
        const std::size_t spectra = grid.terms().size() * weightings();
        keeps = static_cast<double>(spectra * weightNumbers() * sizeof(F)) <= mostKept;
        if (static_cast<double>(bytesOfWork()) > mostOfThread) return false;
        auto work = transforms.makeWork();
        if (keeps) kept = BundleNumbers<F>(spectra * weightNumbers());
        BundleNumbers<F> one(keeps ? 0 : weightNumbers());
        for (std::size_t w = 0; w < weightings(); ++w) {
            double squares = 0;
            double most = 0;
            for (std::size_t t = 0; t < grid.terms().size(); ++t) {
                watch.look();
                F* const spectrum =
                    keeps ? kept.data() + (w * grid.terms().size() + t) * weightNumbers()
                          : one.data();
                squares += transformWeights(w, t, work, spectrum);
                most += largestIn(spectrum, weightNumbers()) / factor();
            }
            if (!roundingKeeps(w, std::sqrt(squares), most)) return false;
        }
        return true;
    }

    std::string_view name() const noexcept override { return "convolution"; }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        fillWatched(box, to, {{}, {}, threads});
    }

    void fillWatched(const LatticeBox& box, const Destination<T>& to,
                     const Conduct& conduct) const override {
        const std::vector<std::int64_t> numbers = sheets.within(box);
        const auto count = static_cast<std::int64_t>(numbers.size());
        const unsigned threads = conduct.threads;
        const unsigned most = threads == 0 ? threadCount() : std::min(threads, mostThreads);
        const unsigned workers = std::min(most, workersFor(count));
        WorkPool pool(*this);
        const auto fillSome = [&](std::int64_t first, std::int64_t last) {
            const auto work = pool.take();
            for (std::int64_t i = first; i < last; ++i)
                fillSheets(numbers[static_cast<std::size_t>(i)], box, to,
                           {conduct.stop, {}, std::max(1U, most / workers)}, *work);
            pool.give(work);
        };
        // Progress is told by this thread alone, between turns of all, about twenty a second.
        constexpr std::chrono::milliseconds enough(50);
        std::int64_t turn = conduct.progress ? workers : count;
        std::int64_t done = 0;
        for (std::int64_t from = 0, some = 0; from < count; from += some) {
            some = std::min(turn, count - from);
            const auto start = std::chrono::steady_clock::now();
            inParallel(some, 1, workers, [&](std::int64_t first, std::int64_t last) {
                fillSome(from + first, from + last);
            });
            if (std::chrono::steady_clock::now() - start < enough / 2) turn *= 2;
            for (std::int64_t i = from; i < from + some; ++i)
                done += commonBox(sheets.box(numbers[static_cast<std::size_t>(i)]), box).points();
            if (conduct.progress && from + some < count) conduct.progress(done);
        }
    }

    std::int64_t leastPiece() const override { return pieceToWatch(1); }

    Index tile() const override { return sheets.tile(); }

    std::int64_t pieceToWatch(unsigned threads) const override {
        // Pieces are cut along the last direction first. Where sheets lie across that one, whole
        // layers of it are whole sheets; else cuts would have sheets computed anew.
        const Index& sizes = request().lattice.sizes;
        std::size_t last = 2;
        while (last > 0 && sizes[last] == 1) --last;
        const std::int64_t all = std::min(request().lattice.box().points(), this->largestPiece());
        std::int64_t layer = 1;
        for (std::size_t i = 0; i < last; ++i) layer *= sizes[i];
        std::int64_t layers = 1;
        // There all sheets are in every layer.
        if (last == sheets.directions[0] || (sheets.isPlane && last == sheets.directions[1]))
            return all;
        if (last == sheets.directions[1]) layers = sheets.linesAtOnce;
        const unsigned count = threads == 0 ? threadCount() : threads;
        const double atOnce = secondsOfAPoint() * static_cast<double>(layers * layer);
        layers *= std::max<std::int64_t>(1, static_cast<std::int64_t>(0.05 / atOnce)) *
                  std::min(count, usableCores());
        return std::min(all, layers * layer);
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        double evaluations = 0;
        std::size_t number = 0;
        for (const Index& index : points) {
            const ElementLattice<K>& field = *fields[number++ % fields.size()];
            Index at = index;
            for (std::size_t i = 0; i < sheets.used; ++i) {
                const std::size_t along = sheets.directions[i];
                at[along] =
                    field.sizes()[along] * (2 * index[along] + 1) / (2 * sheets.sizes[along]);
            }
            evaluations += field.evaluationsOf(at);
        }
        return evaluations / static_cast<double>(points.size()) * fieldPointsOfAPoint();
    }

    double secondsOfAPoint() const override {
        const auto all = static_cast<double>(request().lattice.box().points());
        const auto spectra = static_cast<double>(grid.terms().size());
        const auto many = static_cast<double>(weightings());
        constexpr double precision = sizeof(F) == 4 ? 1 : 2;
        // The engine does not depend on the processor: as with packs of 64 bytes.
        constexpr double widest = precision;
        const double points = transforms.points();
        const double transform = points * std::log2(points) * secondsOfATransform * widest;
        const double ofSheets = static_cast<double>(components()) *
                                ((spectra + many * (keeps ? 1 : 1 + spectra)) * transform +
                                 spectra * many * points * secondsOfAProduct * precision);
        const auto [ofAPoint, ofAnEvaluation] = element->seconds();
        const double convolved = this->evaluationsOfAPoint() * ofAnEvaluation +
                                 fieldPointsOfAPoint() * ofAPoint +
                                 static_cast<double>(sheets.count()) * ofSheets / all;
        if (nearest == 0) return convolved;
        const double near = partOfNearSheets(plane, sheets, nearest);
        return (1 - near) * convolved + near * sum->secondsOfAPoint();
    }

    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        const std::int64_t numbers =
            (box.size[sheets.directions[1]] / sheets.linesAtOnce + 2) * box.size[sheets.past];
        return static_cast<std::int64_t>(kept.bytes() + transforms.tableBytes()) +
               static_cast<std::int64_t>(bytesOfWork()) * workersFor(numbers) +
               (nearest > 0 ? sum->memoryOf(box) + bytesOfSums() * workersFor(numbers) : 0);
    }

  protected:
    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const override {
        std::map<std::int64_t, std::vector<std::size_t>> bySheets;
        for (std::size_t i = 0; i < points.size(); ++i)
            bySheets[sheets.within({points[i], {1, 1, 1}}).front()].push_back(i);
        std::vector<std::complex<double>> values(points.size() * resultFields());
        Work work = makeWork();
        for (const auto& [number, members] : bySheets) {
            if (isNear(number)) {
                for (const std::size_t i : members) sumAt(points[i], &values[i * resultFields()]);
                continue;
            }
            // Weighting by weighting, as all of them may be many.
            const LatticeBox box = sheets.box(number);
            const auto count = static_cast<std::size_t>(box.points());
            const auto ofWeighting = static_cast<std::size_t>(request().components());
            std::vector<std::complex<T>> ofSheets(count * ofWeighting);
            transformFields(box, {{}, {}, threadCount()}, work);
            for (std::size_t w = 0; w < weightings(); ++w) {
                fillWeighting(w, box, box, box, interleaved(ofSheets.data(), box.points()), work);
                for (const std::size_t i : members)
                    for (std::size_t c = 0; c < ofWeighting; ++c)
                        values[i * resultFields() + w * ofWeighting + c] = std::complex<double>(
                            ofSheets[c * count +
                                     static_cast<std::size_t>(numberIn(box, points[i]))]);
            }
        }
        return values;
    }

  private:
    /// What a thread works on.
    struct Work {
        typename PlaneTransforms<F>::Work transforms;
        std::vector<K> field;      ///< an element's components: real parts, then imaginary ones
        BundleNumbers<F> spectra;  ///< of these, of all terms or all weightings
        BundleNumbers<F> weights;  ///< where they are not kept
        std::vector<std::complex<K>> factors;  ///< of intensities
    };

    /// Works that threads take and give back.
    class WorkPool {
      public:
        explicit WorkPool(const ConvolutionEngine& engine) : engine(engine) {}

        std::shared_ptr<Work> take() {
            {
                const std::lock_guard lock(mutex);
                if (!works.empty()) {
                    auto work = std::move(works.back());
                    works.pop_back();
                    return work;
                }
            }
            return std::make_shared<Work>(engine.makeWork());
        }

        void give(std::shared_ptr<Work> work) {
            const std::lock_guard lock(mutex);
            works.push_back(std::move(work));
        }

      private:
        const ConvolutionEngine& engine;
        std::mutex mutex;
        std::vector<std::shared_ptr<Work>> works;
    };

    const Request& request() const noexcept { return terms->request(); }
    const Array& array() const noexcept { return *request().array; }
    std::size_t weightings() const noexcept { return array().weightings(); }
    std::size_t components() const noexcept { return element->components(); }

    /// The fields that are asked for.
    std::size_t resultFields() const noexcept {
        return static_cast<std::size_t>(request().fields());
    }

    bool isProduct() const noexcept { return request().quantity == Quantity::intensity; }

    /// What transforms there and back multiply by, taken back.
    double factor() const { return 1 / static_cast<double>(transforms.transformed()); }

    /// The numbers of a weights' spectrum.
    std::size_t weightNumbers() const {
        return sheets.isPlane ? transforms.numbers() : transforms.blockSize();
    }

    /// The points of an element's field for sheets.
    std::size_t fieldNumbers() const {
        const Index& enlarged = fields.front()->sizes();
        const std::int64_t across =
            sheets.isPlane ? enlarged[sheets.directions[1]] : sheets.linesAtOnce;
        return static_cast<std::size_t>(enlarged[sheets.directions[0]] * across);
    }

    /// How many points of elements' fields are computed for a point of the lattice.
    double fieldPointsOfAPoint() const {
        const auto all = static_cast<double>(request().lattice.box().points());
        const Index& enlarged = fields.front()->sizes();
        return static_cast<double>(fields.size()) * static_cast<double>(enlarged[0]) *
               static_cast<double>(enlarged[1]) * static_cast<double>(enlarged[2]) / all;
    }

    Work makeWork() const {
        return {transforms.makeWork(), std::vector<K>(2 * components() * fieldNumbers()),
                BundleNumbers<F>(spectraAtOnce() * transforms.numbers()),
                BundleNumbers<F>(keeps ? 0 : grid.terms().size() * weightNumbers()),
                std::vector<std::complex<K>>(numbersOfFactors())};
    }

    /// The complex numbers of sheets that intensities are made of.
    std::size_t numbersOfFactors() const noexcept {
        if (!isProduct()) return 0;
        return components() * static_cast<std::size_t>(sheets.box(0).points());
    }

    std::size_t bytesOfWork() const noexcept {
        return sizeof(F) * (transforms.numbersOfWork() + spectraAtOnce() * transforms.numbers() +
                            (keeps ? 0 : grid.terms().size() * weightNumbers())) +
               sizeof(K) * 2 * (components() * fieldNumbers() + numbersOfFactors());
    }

    unsigned workersFor(std::int64_t numbers) const noexcept {
        const double most = std::max(1.0, mostOfThreads / static_cast<double>(bytesOfWork()));
        return static_cast<unsigned>(
            std::min({most, static_cast<double>(numbers), static_cast<double>(usableCores())}));
    }

    /// Transforms the weights of a term, over the numbers that are transformed.
    /// @return the sum of the squares of their magnitudes
    double transformWeights(std::size_t weighting, std::size_t term,
                            typename PlaneTransforms<F>::Work& work, F* spectrum) const {
        const std::complex<double>* const weights =
            &array().weights[weighting * array().elements.size()];
        const auto [first, second] = sheets.places;
        const auto numbers = grid.weightsOf(grid.terms()[term], weights);
        std::vector<double> scaled;
        for (const std::complex<double>& number : numbers) {
            scaled.push_back(number.real() * factor());
            scaled.push_back(number.imag() * factor());
        }
        // Sheets of lines have the same weights in every line.
        const Plane<const double> plane{
            scaled.data(),
            scaled.data() + 1,
            {2, sheets.isPlane ? static_cast<std::ptrdiff_t>(2 * first) : 0},
            {first, sheets.isPlane ? second : static_cast<std::int64_t>(transforms.lines())}};
        const auto take = [&](std::size_t block, const F* transformed) {
            std::copy_n(transformed, transforms.blockSize(),
                        spectrum + block * transforms.blockSize());
        };
        transforms.forward(plane, work, typename PlaneTransforms<F>::Take(take));
        double squares = 0;
        for (const std::complex<double>& number : numbers) squares += std::norm(number);
        return squares;
    }

    /// The largest magnitude of a spectrum.
    double largestIn(const F* spectrum, std::size_t count) const {
        const std::size_t width = transforms.lines();
        double largest = 0;
        for (std::size_t i = 0; i < count; i += 2 * width)
            for (std::size_t line = i; line < i + width; ++line) {
                const double re = spectrum[line];
                const double im = spectrum[line + width];
                largest = std::max(largest, re * re + im * im);
            }
        return std::sqrt(largest);
    }

    /// Whether the transforms' rounding errors are within their share.
    /// @param norm the root of the sum of the weights' squares
    /// @param most the largest magnitude of their spectra
    bool roundingKeeps(std::size_t weighting, double norm, double most) const {
        // Transforms are off by about u*log2(N)/4, relative to the root of the mean square of
        // their numbers, and so in all the same; no number of many is off by more than a few
        // times that.
        constexpr double peak = 6;
        constexpr double perDoubling = 0.25;
        const double unit = std::numeric_limits<F>::epsilon() / 2;
        const double relative =
            peak * perDoubling * unit * std::log2(static_cast<double>(transforms.transformed()));
        double weights = 0;
        const std::size_t elements = array().elements.size();
        for (std::size_t i = 0; i < elements; ++i)
            weights += std::abs(array().weights[weighting * elements + i]);
        const auto keepsIn = [&](std::int64_t number) {
            return isNear(number) ||
                   relative * meanFieldIn(number) * (norm + most) <=
                       weights * element->limitAt(farthestIn(number), shareOfTransforms);
        };
        const std::int64_t count = sheets.count();
        const std::int64_t every = std::max<std::int64_t>(1, count / 16);
        for (std::int64_t number = 0; number < count; number += every)
            if (!keepsIn(number)) return false;
        // Losses make limits the least on the last sheet, and velocities are the largest on the
        // nearest one.
        return keepsIn(count - 1) && keepsIn(nearestSheet());
    }

    /// The nearest of the sheets that are convolved.
    std::int64_t nearestSheet() const {
        std::int64_t found = 0;
        double least = std::numeric_limits<double>::infinity();
        for (std::int64_t number = 0; number < sheets.count(); ++number) {
            const double distance = distanceOf(plane, sheets, number);
            if (isNear(number) || distance >= least) continue;
            least = distance;
            found = number;
        }
        return found;
    }

    /// A bound of the root of the mean square of an element's field on sheets.
    double meanFieldIn(std::int64_t number) const {
        const Lattice lattice = grid.latticeOf(0);
        const double height = distanceOf(plane, sheets, number);
        const LatticeBox box = sheets.box(number);
        const std::size_t a = sheets.directions[0];
        const std::size_t b = sheets.directions[1];
        constexpr std::int64_t cells = 32;
        const auto placeAt = [&](const std::array<double, 3>& index) {
            Pose::Vector place;
            for (std::size_t i = 0; i < 3; ++i)
                place[i] = lattice.transform[4 * i + 3] + lattice.transform[4 * i] * index[0] +
                           lattice.transform[4 * i + 1] * index[1] +
                           lattice.transform[4 * i + 2] * index[2];
            return place;
        };
        const auto stepOf = [&](std::size_t along) {
            return lengthOf({lattice.transform[along], lattice.transform[4 + along],
                             lattice.transform[8 + along]});
        };
        const double cellA = static_cast<double>(lattice.sizes[a]) / cells;
        const double cellB =
            static_cast<double>(sheets.isPlane ? lattice.sizes[b] : box.size[b]) / cells;
        const double reach = (stepOf(a) * cellA + stepOf(b) * cellB) / 2;
        double sum = 0;
        for (std::int64_t i = 0; i < cells; ++i)
            for (std::int64_t j = 0; j < cells; ++j) {
                std::array<double, 3> index{};
                index[a] = (static_cast<double>(i) + 0.5) * cellA;
                index[b] = (static_cast<double>(j) + 0.5) * cellB +
                           static_cast<double>(sheets.isPlane ? 0 : box.first[b]);
                index[sheets.past] = static_cast<double>(box.first[sheets.past]);
                const double distance = std::max(0.0, lengthOf(placeAt(index)) - reach);
                const double amplitude = element->largestAt(distance, height);
                sum += amplitude * amplitude;
            }
        return std::sqrt(sum) / cells;
    }

    /// A bound of the distance of the points of sheets from elements.
    double farthestIn(std::int64_t number) const {
        const Lattice lattice = grid.latticeOf(0);
        const LatticeBox box = sheets.box(number);
        double farthest = 0;
        for (int corner = 0; corner < 8; ++corner) {
            Pose::Vector place;
            for (std::size_t i = 0; i < 3; ++i) {
                place[i] = lattice.transform[4 * i + 3];
                for (std::size_t d = 0; d < 3; ++d) {
                    const bool isEnlarged =
                        d == sheets.directions[0] || (sheets.isPlane && d == sheets.directions[1]);
                    const std::int64_t first = isEnlarged ? 0 : box.first[d];
                    const std::int64_t size = isEnlarged ? lattice.sizes[d] : box.size[d];
                    const auto at =
                        static_cast<double>(first + ((corner >> d & 1) != 0 ? size - 1 : 0));
                    place[i] += lattice.transform[4 * i + d] * at;
                }
            }
            farthest = std::max(farthest, lengthOf(place));
        }
        return farthest;
    }

    /// Whether spreading the elements is not exact enough on sheets, or velocities grow too large.
    bool isNear(std::int64_t number) const { return distanceOf(plane, sheets, number) < nearest; }

    /// Computes those points of sheets that lie in a box.
    void fillSheets(std::int64_t number, const LatticeBox& box, const Destination<T>& to,
                    const Conduct& conduct, Work& work) const {
        const LatticeBox ofSheets = sheets.box(number);
        const LatticeBox wanted = commonBox(ofSheets, box);
        if (isNear(number)) return sumUp(wanted, box, to, conduct);
        transformFields(ofSheets, conduct, work);
        for (std::size_t w = 0; w < weightings(); ++w) {
            if (conduct.stop.stop_requested()) throw Stopped();
            const auto first = static_cast<std::int64_t>(w) * request().components();
            Destination<T> of = to.field(first);
            of.toNextField = to.toNextField;
            fillWeighting(w, ofSheets, wanted, box, of, work);
        }
    }

    /// Transforms an element's field on sheets, of all terms.
    void transformFields(const LatticeBox& ofSheets, const Conduct& conduct, Work& work) const {
        for (std::size_t term = 0; term < grid.terms().size();) {
            const std::size_t row = grid.terms()[term].row;
            fillField(row, ofSheets, work, conduct);
            for (; term < grid.terms().size() && grid.terms()[term].row == row; ++term) {
                if (conduct.stop.stop_requested()) throw Stopped();
                transformField(term, ofSheets, work);
            }
        }
    }

    /// Transforms back what a weighting makes of the terms, all components.
    /// @param wanted what of the sheets goes to its place in a box
    void fillWeighting(std::size_t w, const LatticeBox& ofSheets, const LatticeBox& wanted,
                       const LatticeBox& box, const Destination<T>& to, Work& work) const {
        const F* const weights = addsUp() ? nullptr : weightsOf(w, work);
        for (std::size_t c = 0; c < components(); ++c) {
            const auto at = static_cast<std::int64_t>(c);
            if (isProduct())
                fillComponent(w, c, weights, ofSheets, wanted, wanted,
                              interleaved(work.factors.data(), wanted.points()).field(at), work);
            else
                fillComponent(w, c, weights, ofSheets, wanted, box, to.field(at), work);
        }
        if (isProduct()) fillIntensities(wanted, box, to, work);
    }

    /// Transforms back a component.
    /// @param weights of the weighting, or null where the terms are added up already
    template <class U>
    void fillComponent(std::size_t w, std::size_t component, const F* weights,
                       const LatticeBox& ofSheets, const LatticeBox& wanted, const LatticeBox& box,
                       const Destination<U>& to, Work& work) const {
        const Destination<U> begin = to.from(numberIn(box, wanted.first));
        const auto strides = stridesOf(box.size);
        Plane<U> target{begin.re, begin.im, {}, {}};
        std::array<std::int64_t, 2> first{};
        for (std::size_t i = 0; i < 2; ++i) {
            const std::size_t along = sheets.directions[i];
            target.strides[i] = strides[along] * begin.stride;
            target.sizes[i] = wanted.size[along];
            first[i] = wanted.first[along] - ofSheets.first[along] + sheets.places[i] - 1;
        }
        const auto make = [&](std::size_t block, F* numbers) {
            if (weights == nullptr) {
                std::copy_n(spectrumOf(w, component, work) + block * blockSize(), blockSize(),
                            numbers);
                return;
            }
            for (std::size_t term = 0; term < grid.terms().size(); ++term)
                transforms.multiply(spectrumOf(term, component, work) + block * blockSize(),
                                    weightsIn(weights, term, block), term > 0, numbers);
        };
        transforms.inverse(typename PlaneTransforms<F>::Make(make), first, target, work.transforms);
    }

    /// Forms intensities of the pressures and velocities of what is wanted of sheets.
    void fillIntensities(const LatticeBox& wanted, const LatticeBox& box, const Destination<T>& to,
                         const Work& work) const {
        const auto points = static_cast<std::size_t>(wanted.points());
        std::size_t number = 0;
        for (std::int64_t z = 0; z < wanted.size[2]; ++z)
            for (std::int64_t y = 0; y < wanted.size[1]; ++y) {
                const std::ptrdiff_t row =
                    numberIn(box, {wanted.first[0], wanted.first[1] + y, wanted.first[2] + z});
                for (std::int64_t x = 0; x < wanted.size[0]; ++x, ++number) {
                    PointField field;
                    field.pressure = work.factors[number];
                    for (std::size_t axis = 0; axis < 3; ++axis)
                        field.velocity[axis] = work.factors[(axis + 1) * points + number];
                    const auto intensity = intensityOf(field);
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        const Destination<T> at =
                            to.field(static_cast<std::int64_t>(axis)).from(row + x);
                        *at.re = static_cast<T>(intensity[axis].real());
                        *at.im = static_cast<T>(intensity[axis].imag());
                    }
                }
            }
    }

    /// One of the spectra that a thread works on: of a term or a weighting, and a component.
    F* spectrumOf(std::size_t number, std::size_t component, Work& work) const {
        return work.spectra.data() + (number * components() + component) * transforms.numbers();
    }

    std::size_t blockSize() const { return transforms.blockSize(); }

    /// Whether a weighting's products are added up at once, and not the transforms of all terms
    /// kept for the weightings one after the other.
    bool addsUp() const noexcept { return keeps && weightings() <= grid.terms().size(); }

    /// The spectra of what a thread works on.
    std::size_t spectraAtOnce() const noexcept {
        return components() * (addsUp() ? weightings() : grid.terms().size());
    }

    /// The block of a weighting's spectra that belongs to one of a term's field. Lines have all the
    /// same.
    const F* weightsIn(const F* weights, std::size_t term, std::size_t block) const {
        return weights + term * weightNumbers() + (sheets.isPlane ? block * blockSize() : 0);
    }

    const F* weightsOf(std::size_t weighting, Work& work) const {
        if (keeps) return kept.data() + weighting * grid.terms().size() * weightNumbers();
        for (std::size_t term = 0; term < grid.terms().size(); ++term)
            transformWeights(weighting, term, work.transforms,
                             work.weights.data() + term * weightNumbers());
        return work.weights.data();
    }

    /// The box of an element's field for sheets.
    LatticeBox fieldBox(const LatticeBox& ofSheets) const {
        LatticeBox box = ofSheets;
        for (std::size_t i = 0; i < sheets.used; ++i)
            box.size[sheets.directions[i]] = fields.front()->sizes()[sheets.directions[i]];
        return box;
    }

    void fillField(std::size_t row, const LatticeBox& ofSheets, Work& work,
                   const Conduct& conduct) const {
        K* const re = work.field.data();
        const auto toNext = static_cast<std::ptrdiff_t>(2 * fieldNumbers());
        fields[row]->fill(fieldBox(ofSheets), {re, re + fieldNumbers(), 1, toNext},
                          {conduct.stop, {}, conduct.threads});
    }

    /// Transforms a term's part of an element's field, all components.
    void transformField(std::size_t term, const LatticeBox& ofSheets, Work& work) const {
        const LatticeBox box = fieldBox(ofSheets);
        const auto strides = stridesOf(box.size);
        Plane<const K> plane{work.field.data(), work.field.data() + fieldNumbers(), {}, {}};
        std::ptrdiff_t begin = 0;
        for (std::size_t i = 0; i < 2; ++i) {
            const std::size_t along = sheets.directions[i];
            const int phase = grid.terms()[term].phase[i];
            plane.strides[i] = strides[along] * sheets.division[i];
            plane.sizes[i] = box.size[along] / sheets.division[i];
            begin += strides[along] * (sheets.division[i] - 1 - phase);
        }
        plane.re += begin;
        plane.im += begin;
        for (std::size_t c = 0; c < components(); ++c) {
            transformComponent(term, c, plane, work);
            plane.re += 2 * fieldNumbers();
            plane.im += 2 * fieldNumbers();
        }
    }

    void transformComponent(std::size_t term, std::size_t component, const Plane<const K>& plane,
                            Work& work) const {
        const auto take = [&](std::size_t block, const F* numbers) {
            const std::size_t at = block * blockSize();
            if (!addsUp()) {
                std::copy_n(numbers, blockSize(), spectrumOf(term, component, work) + at);
                return;
            }
            for (std::size_t w = 0; w < weightings(); ++w)
                transforms.multiply(numbers, weightsIn(weightsOf(w, work), term, block), term > 0,
                                    spectrumOf(w, component, work) + at);
        };
        transforms.forward(plane, work.transforms, typename PlaneTransforms<F>::Take(take));
    }

    /// Computes a part of a box by sums, a piece at a time.
    void sumUp(const LatticeBox& part, const LatticeBox& box, const Destination<T>& to,
               const Conduct& conduct) const {
        std::vector<std::complex<T>> values;
        inPieces(part, sum->pieceToWatch(1), [&](const LatticeBox& wanted) {
            if (conduct.stop.stop_requested()) throw Stopped();
            values.resize(resultFields() * static_cast<std::size_t>(wanted.points()));
            sum->fill(wanted, interleaved(values.data(), wanted.points()), 1);
            const std::complex<T>* value = values.data();
            for (std::size_t f = 0; f < resultFields(); ++f)
                value = copied(value, wanted, box, to.field(static_cast<std::int64_t>(f)));
        });
    }

    /// Copies a part of a box to its place, from values one after the other to the next one.
    static const std::complex<T>* copied(const std::complex<T>* value, const LatticeBox& wanted,
                                         const LatticeBox& box, const Destination<T>& to) {
        for (std::int64_t z = 0; z < wanted.size[2]; ++z)
            for (std::int64_t y = 0; y < wanted.size[1]; ++y) {
                const Destination<T> row = to.from(
                    numberIn(box, {wanted.first[0], wanted.first[1] + y, wanted.first[2] + z}));
                for (std::int64_t x = 0; x < wanted.size[0]; ++x, ++value) {
                    row.re[x * row.stride] = value->real();
                    row.im[x * row.stride] = value->imag();
                }
            }
        return value;
    }

    /// The bytes of the values that a thread sums up at a time.
    std::int64_t bytesOfSums() const noexcept {
        const std::int64_t points = std::min(sheets.box(0).points(), sum->pieceToWatch(1));
        return points * static_cast<std::int64_t>(resultFields() * sizeof(std::complex<T>));
    }

    void sumAt(const Index& point, std::complex<double>* values) const {
        std::vector<std::complex<T>> ofPoint(resultFields());
        sum->fill({point, {1, 1, 1}}, interleaved(ofPoint.data(), 1), 1);
        std::copy(ofPoint.begin(), ofPoint.end(), values);
    }

    std::shared_ptr<const ConvolvedElement<K>> element;
    std::shared_ptr<const ElementTerms> terms;
    std::shared_ptr<const ArrayEngine<T>> sum;
    ElementPlane plane;
    ElementGrid grid;
    double nearest;
    Sheets sheets;
    PlaneTransforms<F> transforms;
    std::vector<std::unique_ptr<const ElementLattice<K>>> fields;  ///< of the rows
    bool keeps = false;
    BundleNumbers<F> kept;
};

template <class T, class K, class F>
std::unique_ptr<const ArrayEngine<T>> engineIn(std::shared_ptr<const ConvolvedElement<K>> element,
                                               std::shared_ptr<const ArrayEngine<T>> sum,
                                               const ElementPlane& plane, const Choice& choice,
                                               const Watch& watch) {
    auto engine = std::make_unique<ConvolutionEngine<T, K, F>>(std::move(element), std::move(sum),
                                                               plane, choice);
    if (!engine->prepare(watch)) return nullptr;
    return engine;
}

template <class T, class K>
std::unique_ptr<const ArrayEngine<T>> engineOf(std::shared_ptr<const ConvolvedElement<K>> element,
                                               std::shared_ptr<const ArrayEngine<T>> sum,
                                               const Watch& watch) {
    const Request& request = element->terms()->request();
    if (!haveFft() || !request.array) return nullptr;
    const auto plane = ElementPlane::of(request);
    if (!plane) return nullptr;
    const Choice choice = GridChooser<K>(*element, *plane, sum->secondsOfAPoint()).best();
    // Where sums are far ahead not even its preparation would pay.
    const double sums =
        static_cast<double>(request.lattice.box().points()) * sum->secondsOfAPoint();
    if (!(choice.seconds < 1 + 10 * sums)) return nullptr;
    if constexpr (sizeof(T) == 4)
        if (auto engine = engineIn<T, K, float>(element, sum, *plane, choice, watch)) return engine;
    return engineIn<T, K, double>(std::move(element), std::move(sum), *plane, choice, watch);
}

}  // namespace

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeConvolutionEngine(
    const std::shared_ptr<const ArrayTerms>& terms, std::shared_ptr<const ArrayEngine<T>> sum,
    const Watch& watch) {
    return engineOf<T, T>(makeConvolvedRectangle<T>(terms), std::move(sum), watch);
}

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeConvolutionEngine(
    const std::shared_ptr<const ContourTerms>& terms, std::shared_ptr<const ArrayEngine<T>> sum,
    const Watch& watch) {
    return engineOf<T, double>(makeConvolvedOutline(terms), std::move(sum), watch);
}

template std::unique_ptr<const ArrayEngine<float>> makeConvolutionEngine(
    const std::shared_ptr<const ArrayTerms>&, std::shared_ptr<const ArrayEngine<float>>,
    const Watch&);
template std::unique_ptr<const ArrayEngine<double>> makeConvolutionEngine(
    const std::shared_ptr<const ArrayTerms>&, std::shared_ptr<const ArrayEngine<double>>,
    const Watch&);
template std::unique_ptr<const ArrayEngine<float>> makeConvolutionEngine(
    const std::shared_ptr<const ContourTerms>&, std::shared_ptr<const ArrayEngine<float>>,
    const Watch&);
template std::unique_ptr<const ArrayEngine<double>> makeConvolutionEngine(
    const std::shared_ptr<const ContourTerms>&, std::shared_ptr<const ArrayEngine<double>>,
    const Watch&);

}  // namespace pistonfield
