// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "field/ConvolvedElement.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// All elements are the first one.
constexpr std::size_t theElement = 0;

Request requestFor(const Request& asked, const Lattice& lattice) {
    Request request;
    request.wave = asked.wave;
    request.lattice = lattice;
    return request;
}

/// The numbers of a field that are convolved.
std::size_t componentsFor(Quantity quantity) noexcept {
    switch (quantity) {
        case Quantity::pressure:
            return 1;
        case Quantity::velocity:
            return 3;
        case Quantity::intensity:
            break;
    }
    return 4;
}

/// The element's field on a lattice, in groups of points along one of its directions.
class OutlineLattice : public ElementLattice<double> {
  public:
    OutlineLattice(const ContourTerms& terms, const Lattice& lattice, std::size_t along,
                   const DecayingLimit& limit)
        : fields(terms.fields()),
          quantity(terms.request().quantity),
          request(requestFor(terms.request(), lattice)),
          positions(request),
          along(along),
          limit(limit) {}

    const Index& sizes() const noexcept override { return request.lattice.sizes; }

    void fill(const LatticeBox& box, const Destination<double>& to,
              const Conduct& conduct) const override {
        const Groups groups(box, along);
        constexpr std::int64_t aTurn = 4;
        inParallel(groups.count(), aTurn, groups.count() > aTurn ? conduct.threads : 1,
                   [&](std::int64_t first, std::int64_t last) {
                       ContourFields::Work work;
                       std::array<PointField, groupSize> values;
                       for (std::int64_t i = first; i < last; ++i) {
                           if (conduct.stop.stop_requested()) return;
                           const Index begin = groups.begin(i);
                           const std::int64_t size = groups.sizeFrom(begin);
                           fields.computeInFrame(theElement, placesFrom(begin, size), limit, values,
                                                 work);
                           store(values, size, to.from(groups.numberOf(begin)), groups.stride(),
                                 to.toNextField);
                       }
                   });
    }

    double evaluationsOf(const Index& index) const override {
        Index begin = index;
        begin[along] -= begin[along] % groupSize;
        const std::int64_t size = std::min<std::int64_t>(groupSize, sizes()[along] - begin[along]);
        ContourFields::Work work;
        return fields.evaluationsInFrame(theElement, placesFrom(begin, size), limit, work);
    }

  private:
    /// The groups of a box, row by row.
    class Groups {
      public:
        Groups(const LatticeBox& box, std::size_t along) noexcept
            : box(box),
              along(along),
              others{along == 0 ? 1U : 0U, along == 2 ? 1U : 2U},
              perRow((box.size[along] + groupSize - 1) / groupSize) {}

        std::int64_t count() const noexcept {
            return perRow * box.size[others[0]] * box.size[others[1]];
        }

        /// The first point of a group.
        Index begin(std::int64_t number) const noexcept {
            const std::int64_t row = number / perRow;
            Index index = box.first;
            index[along] += number % perRow * groupSize;
            index[others[0]] += row % box.size[others[0]];
            index[others[1]] += row / box.size[others[0]];
            return index;
        }

        std::int64_t sizeFrom(const Index& begin) const noexcept {
            return std::min<std::int64_t>(groupSize,
                                          box.first[along] + box.size[along] - begin[along]);
        }

        std::int64_t numberOf(const Index& index) const noexcept {
            return ((index[2] - box.first[2]) * box.size[1] + index[1] - box.first[1]) *
                       box.size[0] +
                   index[0] - box.first[0];
        }

        /// How far neighbours' numbers are apart.
        std::int64_t stride() const noexcept {
            return along == 0 ? 1 : along == 1 ? box.size[0] : box.size[0] * box.size[1];
        }

      private:
        LatticeBox box;
        std::size_t along;
        std::array<std::size_t, 2> others;
        std::int64_t perRow;
    };

    /// The places from one on; the last of so many is taken again and again.
    PlacesInFrame placesFrom(const Index& begin, std::int64_t size) const {
        PlacesInFrame places;
        for (std::int64_t i = 0; i < groupSize; ++i) {
            Index index = begin;
            index[along] += std::min(i, size - 1);
            const auto [x, y, z] = positions.at(index);
            places.x[i] = x;
            places.y[i] = y;
            places.z[i] = z;
        }
        return places;
    }

    void store(const std::array<PointField, groupSize>& values, std::int64_t size,
               const Destination<double>& to, std::int64_t stride,
               std::ptrdiff_t toNextField) const {
        for (std::int64_t i = 0; i < size; ++i) {
            const PointField& field = values[static_cast<std::size_t>(i)];
            std::ptrdiff_t at = i * stride * to.stride;
            const auto put = [&](const std::complex<double>& number) {
                to.re[at] = number.real();
                to.im[at] = number.imag();
                at += toNextField;
            };
            if (quantity != Quantity::velocity) put(field.pressure);
            if (quantity != Quantity::pressure)
                for (const std::complex<double>& component : field.velocity) put(component);
        }
    }

    const ContourFields& fields;
    Quantity quantity;
    Request request;
    Positions positions;
    std::size_t along;
    DecayingLimit limit;
};

class ConvolvedOutline : public ConvolvedElement<double> {
  public:
    explicit ConvolvedOutline(std::shared_ptr<const ContourTerms> asked)
        : asked(std::move(asked)),
          wave(this->asked->request().wave),
          offset(std::hypot(circle().centre[0], circle().centre[1])) {}

    std::shared_ptr<const ElementTerms> terms() const noexcept override { return asked; }

    std::size_t components() const noexcept override {
        return componentsFor(asked->request().quantity);
    }

    Seconds seconds() const noexcept override { return {50e-9, 6e-9}; }

    double nearest() const noexcept override {
        // On edges velocities are infinite, and transforms would spread that.
        constexpr double wavelengths = 1e-3;
        if (asked->request().quantity == Quantity::pressure) return 0;
        return wavelengths * 2 * std::numbers::pi / wave.wavenumber;
    }

    double limitAt(double distance, double part) const noexcept override {
        const auto [limit, decays] = asked->limitOf(theElement, part);
        const double fromCentre = distance + offset;
        return limit.at(wave.wavenumber * fromCentre) *
               (decays ? std::exp(-wave.attenuation * fromCentre) : 1);
    }

    double largestAt(double distance, double height) const noexcept override {
        return asked->fields().largestAt(theElement, distance - offset, height);
    }

    std::unique_ptr<const ElementLattice<double>> on(const Lattice& lattice, std::size_t along,
                                                     double part) const override {
        return std::make_unique<const OutlineLattice>(*asked, lattice, along,
                                                      asked->limitOf(theElement, part));
    }

  private:
    const Circle& circle() const noexcept { return asked->fields().outlineOf(theElement).circle(); }

    std::shared_ptr<const ContourTerms> asked;
    Wave wave;
    double offset;  ///< of the circle about the outline, whose centre the limit is relative to
};

}  // namespace

std::unique_ptr<const ConvolvedElement<double>> makeConvolvedOutline(
    std::shared_ptr<const ContourTerms> terms) {
    return std::make_unique<const ConvolvedOutline>(std::move(terms));
}

}  // namespace pistonfield
