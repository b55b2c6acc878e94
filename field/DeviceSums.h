// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "field/DeviceArray.h"
#include "field/ElementFields.h"
#include "field/ElementRounds.h"
#include "field/FarFace.h"
#include "method/ArrayModules.h"

namespace pistonfield {

/// Which elements of a round are near to groups of points, and the directivities of the others.
struct NearElements {
    std::vector<std::int32_t> first;  ///< of each group the number of its first one; then their end
    std::vector<NearElement> all;     ///< group by group in the order of the elements
    std::vector<std::uint8_t> directivities;  ///< group by group those of the blocks
};

/// An array's elements and weights in device memory, and sums over the elements at groups of
/// points. It is used in the thread that has the device; all that goes there or comes back throws
/// DeviceFailure, and std::bad_alloc.
template <class T>
class DeviceSums {
  public:
    /// @throws DeviceFailure, std::bad_alloc
    DeviceSums(const ElementRounds& rounds, const Array& array, const Wave& wave);

    /// Begins the sums of groups.
    void begin(std::span<const GroupSites> sites);

    /// Adds the elements of a round that are far, with the directivities that are named.
    /// @param far of their face
    void addFar(const ElementRounds::Round& round, const NearElements& near, const FarFace<T>& far);

    /// Adds near elements of that round, from number `begin` to less than `end`.
    /// @param values their pressure, from number `begin` on
    void addNear(const ElementRounds::Round& round, std::size_t begin, std::size_t end,
                 const DeviceArray<GroupValues<T>>& values);

    /// Brings the sums to the host.
    void finish();

    /// A sum that has been brought.
    std::complex<T> at(std::size_t weighting, std::size_t group, std::size_t point) const {
        const GroupSums<T>& of = sums[weighting * groups + group];
        return {of.re[point] + of.restOfRe[point], of.im[point] + of.restOfIm[point]};
    }

    /// The most groups at a time of so many weightings, which fill a GPU.
    static std::int64_t mostGroups(std::size_t weightings) noexcept;

    /// The most bytes that it takes, of the process and of the device.
    static std::int64_t memoryOf(const Array& array, std::int64_t most) noexcept;
    static std::int64_t deviceMemoryOf(const Array& array, std::int64_t most) noexcept;

  private:
    /// Numbers in device memory that others take the place of.
    template <class N>
    class Replaced {
      public:
        /// @return where they are
        const N* replace(std::span<const N> by, const char* operation);
        N* get() const noexcept { return numbers->get(); }
        /// Brings the first ones to the host.
        void download(std::span<N> to, const char* operation) const {
            numbers->download(to, operation);
        }

      private:
        std::size_t room = 0;
        std::unique_ptr<const DeviceArray<N>> numbers;
    };

    void upload(const FarFace<T>& far, const std::vector<std::uint8_t>& used);

    double perWavelength;
    std::size_t weightings;  ///< with those that fill up
    std::size_t groups = 0;
    DeviceArray<ElementNumbers<T>> elements;
    DeviceArray<T> weights;
    std::int64_t toNextWeights;
    std::vector<SiteNumbers<T>> sites;
    std::vector<GroupSums<T>> sums;
    Replaced<SiteNumbers<T>> sitesOnDevice;
    Replaced<GroupSums<T>> sumsOnDevice;
    Replaced<std::int32_t> firstNear;
    Replaced<NearElement> near;
    Replaced<std::uint8_t> directivityNumbers;
    Replaced<DirectivityOnDevice<T>> directivities;
    Replaced<int> counts;
    Replaced<T> coefficients;
};

}  // namespace pistonfield
