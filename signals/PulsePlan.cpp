// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/PulsePlan.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <string>
#include <thread>
#include <utility>

#include "parallel/threads.h"
#include "signals/Arrivals.h"
#include "signals/SpectralField.h"
#include "signals/Synthesis.h"

namespace pistonfield {

namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

/// The largest magnitudes of a function of time and of its derivative.
struct Peak {
    double value = 0;
    double slope = 0;
};

/// A signal over a period, by its frequencies.
class Spectrum {
  public:
    Spectrum(const Signal& signal, std::size_t samples)
        : synthesis(samples),
          bins(synthesis.spectrumOf(signal.samples)),
          step(signal.rate / static_cast<double>(synthesis.length())) {
        // What has no imaginary part, at 0 and at half the rate, counts once, the others twice.
        const double scale = 1 / static_cast<double>(synthesis.length());
        for (std::size_t n = 0; n < bins.size(); ++n)
            bins[n] *= n == 0 || 2 * n == synthesis.length() ? scale : 2 * scale;
    }

    const Synthesis& times() const noexcept { return synthesis; }
    std::size_t count() const noexcept { return bins.size(); }
    Complex amplitude(std::size_t bin) const noexcept { return bins[bin]; }
    double frequency(std::size_t bin) const noexcept { return step * static_cast<double>(bin); }

    /// The largest values of the part that some frequencies make up.
    Peak peakOf(const std::vector<std::size_t>& some) const {
        return {largestOf(some, [](double) { return Complex(1); }),
                largestOf(some, [](double f) { return Complex(0, 2 * pi * f); })};
    }

    /// The frequencies that remain where those of least amplitude are left out, to a tolerance of
    /// the largest value and of the largest slope. The lowest one, 0, radiates nothing.
    std::vector<std::size_t> kept(double tolerance) const {
        std::vector<std::size_t> order(count());
        std::iota(order.begin(), order.end(), std::size_t{0});
        const Peak peak = peakOf(order);
        const auto part = [&](std::size_t bin) {
            return std::abs(bins[bin]) *
                   std::max(1 / peak.value, 2 * pi * frequency(bin) / peak.slope);
        };
        std::sort(order.begin(), order.end(),
                  [&](std::size_t a, std::size_t b) { return part(a) < part(b); });
        double sum = 0;
        const auto first = std::find_if(order.begin(), order.end(), [&](std::size_t bin) {
            sum += part(bin);
            return sum > tolerance;
        });
        order.erase(order.begin(), first);
        std::sort(order.begin(), order.end());
        if (!order.empty() && order.front() == 0) order.erase(order.begin());
        return order;
    }

  private:
    template <class Factor>
    double largestOf(const std::vector<std::size_t>& some, Factor factor) const {
        Synthesis::Work work(synthesis);
        for (const std::size_t bin : some) work.set(0, bin, bins[bin] * factor(frequency(bin)));
        work.transform();
        double largest = 0;
        for (std::size_t t = 0; t < synthesis.length(); ++t)
            largest = std::max(largest, std::abs(work.at(0, t)));
        return largest;
    }

    Synthesis synthesis;
    std::vector<Complex> bins;
    double step;
};

Wave checkedWave(const WaveAt& waveAt, double frequency) {
    const Wave wave = waveAt(frequency);
    if (!(std::isfinite(wave.wavenumber) && wave.wavenumber > 0))
        throw InvalidRequest("wavenumber",
                             "there is none at the frequency " + std::to_string(frequency) + " Hz");
    return wave;
}

/// Those of the phases and of the groups at some frequencies.
Slowness slownessOf(const WaveAt& waveAt, const Spectrum& spectrum,
                    const std::vector<std::size_t>& bins) {
    const double first = spectrum.frequency(bins.front());
    const double phase = checkedWave(waveAt, first).wavenumber / (2 * pi * first);
    Slowness slowness{phase, phase};
    const auto take = [&](double one) {
        slowness = {std::min(slowness.least, one), std::max(slowness.most, one)};
    };
    for (const std::size_t bin : bins) {
        const double f = spectrum.frequency(bin);
        const double k = checkedWave(waveAt, f).wavenumber;
        take(k / (2 * pi * f));
        constexpr double near = 1e-3;
        const double beside = checkedWave(waveAt, f * (1 + near)).wavenumber;
        take((beside - k) / (2 * pi * f * near));
    }
    // Rounding of that difference is no dispersion.
    constexpr double rounding = 1e-9;
    if (slowness.most - slowness.least <= rounding * slowness.most) return {phase, phase};
    return slowness;
}

void checkPulse(const PulseRequest& request) {
    check(request.signal);
    const Request& field = request.field;
    if (!field.tolerance || field.tolerance->of != Tolerance::Of::largest)
        throw InvalidRequest("tolerance", "a pulse takes one of the largest value");
    if (field.quantity == Quantity::intensity)
        throw InvalidRequest("quantity", "a pulse has no intensity of a period");
    if (!(std::isfinite(request.speed) && request.speed >= 0))
        throw InvalidRequest("speed", "must be a speed of 0 or above");
    const std::vector<double>& delays = request.delays;
    if (!delays.empty() && (!field.array || delays.size() != field.array->elements.size()))
        throw InvalidRequest(
            "delays", std::to_string(delays.size()) + " are not one for each element of an array");
    if (!std::all_of(delays.begin(), delays.end(), [](double d) { return std::isfinite(d); }))
        throw InvalidRequest("delays", "every number must be finite");
}

double areaOf(const Element& element) {
    return element.outline ? areaOf(*element.outline)
                           : element.piston.width * element.piston.height;
}

/// What moves of a weighting: the sum of |weight|, and of that times the area.
struct Strength {
    double weight = 0;
    double volume = 0;
};

Strength strengthOf(const Request& request, std::size_t weighting) {
    if (!request.array) return {1, request.piston.width * request.piston.height};
    const Array& array = *request.array;
    Strength sum;
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        const double weight = std::abs(array.weights[weighting * array.elements.size() + i]);
        sum.weight += weight;
        sum.volume += weight * areaOf(array.elements[i]);
    }
    return sum;
}

/// The samples of a window that begins at `start` and holds all that arrives.
std::int64_t timesOf(const Signal& signal, const Arrivals& arrivals, double start) {
    const double samples = std::ceil((arrivals.all().last - start) * signal.rate);
    constexpr double most = 1e9;
    if (!(samples <= most))
        throw InvalidRequest("rate", "arrivals are more than 1e9 samples apart");
    return static_cast<std::int64_t>(samples) + static_cast<std::int64_t>(signal.samples.size());
}

/// The same, and what separates a period from the next one.
std::size_t periodOf(std::int64_t times) {
    constexpr std::int64_t least = 16;
    constexpr std::int64_t part = 16;
    return static_cast<std::size_t>(times + std::max(least, times / part));
}

/// The request with what each frequency shares checked, before its points are looked at.
PulseRequest checked(PulseRequest request) {
    checkPulse(request);
    Request any = request.field;
    any.wave = {1, 0};
    check(any);
    return request;
}

Slowness slownessOf(const PulseRequest& request) {
    constexpr std::size_t finer = 4;
    const Spectrum spectrum(request.signal, finer * request.signal.samples.size());
    const std::vector<std::size_t> bins = spectrum.kept(request.field.tolerance->value / 2);
    if (bins.empty()) throw InvalidRequest("signal", "is constant, which radiates nothing");
    return slownessOf(request.wave, spectrum, bins);
}

/// Whether what does not change radiates nothing of a quantity.
bool isSilentAtRest(const Request& request) noexcept {
    return request.quantity == Quantity::pressure && request.baffle == Baffle::rigid;
}

}  // namespace

struct PulsePlan::Parts {
    explicit Parts(PulseRequest given)
        : request(checked(std::move(given))),
          slowness(slownessOf(request)),
          arrivals(request.field, request.delays, slowness),
          start(std::floor(arrivals.all().first * request.signal.rate) / request.signal.rate),
          times(timesOf(request.signal, arrivals, start)),
          spectrum(request.signal, periodOf(times)),
          bins(spectrum.kept(request.field.tolerance->value / 2)),
          fields(request.field, tonesOf()) {
        for (const std::size_t bin : bins) frequencies.push_back(spectrum.frequency(bin));
        findDropped();
    }

    std::vector<Tone> tonesOf() const {
        std::vector<Tone> tones;
        tones.reserve(bins.size());
        for (const std::size_t bin : bins) {
            const double frequency = spectrum.frequency(bin);
            tones.push_back({checkedWave(request.wave, frequency), delayedWeights(frequency)});
        }
        return tones;
    }

    std::vector<Complex> delayedWeights(double frequency) const {
        if (request.delays.empty()) return {};
        std::vector<Complex> weights = request.field.array->weights;
        for (std::size_t i = 0; i < weights.size(); ++i)
            weights[i] *=
                std::polar(1.0, -2 * pi * frequency * request.delays[i % request.delays.size()]);
        return weights;
    }

    void findDropped() {
        std::vector<std::size_t> left;
        std::vector<std::size_t> top;
        auto next = bins.begin();
        for (std::size_t bin = 0; bin < spectrum.count(); ++bin) {
            const bool isKept = next != bins.end() && *next == bin;
            if (isKept)
                ++next;
            else if (bin > 0 || !isSilentAtRest(request.field))
                left.push_back(bin);
            if (8 * bin > 7 * (spectrum.count() - 1)) top.push_back(bin);
        }
        dropped = spectrum.peakOf(left);
        topmost = spectrum.peakOf(top);
        for (const std::size_t bin : bins)
            largestUnit = std::max(largestUnit, std::abs(unitOf(bin)));
    }

    /// The most that a part of the signal can be at a point: twice what all faces have as plane
    /// pistons, or what their volume velocity makes of its slope at the least distance, in the
    /// largest unit.
    double mostOf(const Peak& peak, const Strength& strength) const noexcept {
        const double plane = 2 * largestUnit * strength.weight * peak.value;
        const double nearest = arrivals.nearest();
        if (nearest == 0) return plane;
        return std::min(
            plane, largestUnit * strength.volume * slowness.most * peak.slope / (2 * pi * nearest));
    }

    /// What the values of a frequency are relative to: pressures to its own phase speed.
    Complex unitOf(std::size_t bin) const {
        if (request.field.quantity != Quantity::pressure) return {1, 0};
        if (request.speed == 0) return {0, 1};
        const double frequency = spectrum.frequency(bin);
        const double speed = 2 * pi * frequency / request.wave(frequency).wavenumber;
        return {0, speed / request.speed};
    }

    /// The phase, amplitude and unit that the values of a frequency get.
    Complex factorOf(std::size_t bin) const {
        return unitOf(bin) * spectrum.amplitude(bin) *
               std::polar(1.0, 2 * pi * std::remainder(spectrum.frequency(bin) * start, 1.0));
    }

    PulseRequest request;
    Slowness slowness;
    Arrivals arrivals;
    double start;
    std::int64_t times;
    Spectrum spectrum;
    std::vector<std::size_t> bins;
    SpectralField fields;
    std::vector<double> frequencies;
    Peak dropped;
    Peak topmost;
    double largestUnit = 0;  ///< of the frequencies that are computed
};

namespace {

/// The largest magnitudes of a field: of its pulse, and of that where nothing arrives.
struct Largest {
    double value = 0;
    double outside = 0;

    void take(const Largest& other) noexcept {
        value = std::max(value, other.value);
        outside = std::max(outside, other.outside);
    }
};

}  // namespace

WaveAt lossless(double speed) {
    if (!(std::isfinite(speed) && speed > 0))
        throw InvalidRequest("speed", "must be a speed above 0");
    return [speed](double frequency) { return Wave{2 * pi * frequency / speed}; };
}

PulsePlan::PulsePlan(PulseRequest request)
    : parts(std::make_unique<const Parts>(std::move(request))) {}

PulsePlan::PulsePlan(PulsePlan&&) noexcept = default;
PulsePlan& PulsePlan::operator=(PulsePlan&&) noexcept = default;
PulsePlan::~PulsePlan() = default;

const PulseRequest& PulsePlan::request() const noexcept { return parts->request; }
double PulsePlan::start() const noexcept { return parts->start; }
std::int64_t PulsePlan::times() const noexcept { return parts->times; }
const std::vector<double>& PulsePlan::frequencies() const noexcept { return parts->frequencies; }

Cost PulsePlan::cost() const {
    const Request& field = parts->request.field;
    Cost cost = parts->fields.cost(field.lattice.box());
    cost.memory += static_cast<std::int64_t>(parts->bins.size() * sizeof(Complex)) *
                   field.lattice.box().points() * field.fields();
    return cost;
}

namespace {

/// The largest |value| at a frequency of each weighting's points, over all components.
/// @param values of all fields at the frequency
std::vector<double> largestOf(const Request& request, const Complex* values) {
    const std::int64_t points = request.lattice.box().points();
    const std::int64_t components = request.components();
    std::vector<double> largest(static_cast<std::size_t>(request.fields() / components));
    for (double& of : largest) {
        for (std::int64_t i = 0; i < points; ++i) {
            double square = 0;
            for (std::int64_t c = 0; c < components; ++c)
                square += std::norm(values[c * points + i]);
            of = std::max(of, square);
        }
        of = std::sqrt(of);
        values += components * points;
    }
    return largest;
}

}  // namespace

PulseError PulsePlan::compute(double* values, const Conduct& conduct) const {
    const Request& request = parts->request.field;
    const double rate = parts->request.signal.rate;
    const double duration = parts->request.signal.duration();
    const std::vector<std::size_t>& bins = parts->bins;
    const std::int64_t points = request.lattice.box().points();
    const std::int64_t fields = request.fields();
    const std::int64_t times = parts->times;

    std::vector<Complex> spectra(bins.size() * static_cast<std::size_t>(fields * points));
    parts->fields.compute(request.lattice.box(), spectra.data(), conduct);

    std::vector<Complex> factors;
    std::vector<double> fromTolerance(static_cast<std::size_t>(fields / request.components()));
    for (std::size_t n = 0; n < bins.size(); ++n) {
        factors.push_back(parts->factorOf(bins[n]));
        const std::vector<double> largest =
            largestOf(request, &spectra[n * static_cast<std::size_t>(fields * points)]);
        for (std::size_t w = 0; w < largest.size(); ++w)
            fromTolerance[w] += request.tolerance->value * std::abs(factors[n]) * largest[w];
    }

    const Synthesis& synthesis = parts->spectrum.times();
    const auto lines = static_cast<std::int64_t>(synthesis.lines());
    const std::int64_t blocks = (points + lines - 1) / lines;
    std::vector<Largest> found(static_cast<std::size_t>(fields * blocks));

    // Makes the pulse at up to `lines` points of a field from a point on.
    const auto synthesise = [&](std::int64_t field, std::int64_t first, Synthesis::Work& work) {
        const std::int64_t count = std::min(lines, points - first);
        work.clear();
        for (std::size_t n = 0; n < bins.size(); ++n) {
            const Complex* const from =
                &spectra[n * static_cast<std::size_t>(fields * points)] + field * points + first;
            for (std::int64_t line = 0; line < count; ++line)
                work.set(static_cast<std::size_t>(line), bins[n], factors[n] * from[line]);
        }
        work.transform();
        double* const to = values + field * times * points + first;
        Largest largest;
        for (std::int64_t line = 0; line < count; ++line) {
            const Arrival& arrival = parts->arrivals.at(first + line);
            const double begin = (arrival.first - parts->start) * rate;
            const double end = (arrival.last + duration - parts->start) * rate;
            for (std::size_t t = 0; t < synthesis.length(); ++t) {
                const double value = work.at(static_cast<std::size_t>(line), t);
                const auto time = static_cast<std::int64_t>(t);
                if (time < times) to[time * points + line] = value;
                const double magnitude = std::abs(value);
                const bool isOutside =
                    static_cast<double>(time) < begin || static_cast<double>(time) > end;
                largest.take({magnitude, isOutside ? magnitude : 0});
            }
        }
        return largest;
    };
    const std::thread::id caller = std::this_thread::get_id();
    const auto synthesiseSome = [&](std::int64_t first, std::int64_t last) {
        Synthesis::Work work(synthesis);
        const bool tells = conduct.progress && std::this_thread::get_id() == caller;
        for (std::int64_t task = first; task < last; ++task) {
            if (conduct.stop.stop_requested()) throw Stopped();
            if (tells) conduct.progress(static_cast<std::int64_t>(bins.size()) * points);
            found[static_cast<std::size_t>(task)] =
                synthesise(task / blocks, task % blocks * lines, work);
        }
    };
    constexpr std::int64_t aTurn = 4;
    const unsigned threads = conduct.threads > 0 ? conduct.threads : threadCount();
    inParallel(fields * blocks, aTurn, fields * blocks > aTurn ? threads : 1, synthesiseSome);

    PulseError error;
    const auto perWeighting = static_cast<std::size_t>(blocks * request.components());
    for (std::size_t w = 0; w < fromTolerance.size(); ++w) {
        Largest largest;
        for (std::size_t i = 0; i < perWeighting; ++i) largest.take(found[w * perWeighting + i]);
        const Strength strength = strengthOf(request, w);
        const auto take = [&](double& most, double one) {
            most = std::max(most, one / largest.value);
        };
        take(error.sampling, parts->mostOf(parts->topmost, strength));
        take(error.dropped, parts->mostOf(parts->dropped, strength));
        take(error.tolerance, fromTolerance[w]);
        take(error.folded, largest.outside);
    }
    return error;
}

}  // namespace pistonfield
