// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/PlaneTransforms.h"

#include <algorithm>

namespace pistonfield {

namespace {

std::size_t blocksOf(std::size_t count, std::size_t size) { return (count + size - 1) / size; }

}  // namespace

template <class F>
PlaneTransforms<F>::PlaneTransforms(const std::array<std::int64_t, 2>& least, bool both)
    : along(Fft<F>::lengthFrom(static_cast<std::size_t>(least[0])), false),
      back(along.length(), true) {
    auto lengthAcross = static_cast<std::size_t>(least[1]);
    if (both) {
        lengthAcross = Fft<F>::lengthFrom(lengthAcross);
        across.emplace(lengthAcross, false);
        home.emplace(lengthAcross, true);
    }
    allBlocks = blocksOf(lengthAcross, lines());
}

template <class F>
double PlaneTransforms<F>::points() const noexcept {
    return static_cast<double>(along.length()) *
           static_cast<double>(across ? across->length() : allBlocks * lines());
}

template <class F>
std::size_t PlaneTransforms<F>::stagedNumbers() const noexcept {
    // Whole squares are turned at a time.
    return across ? allBlocks * blocksOf(along.length(), lines()) * lines() * lines() * 2 : 0;
}

template <class F>
std::size_t PlaneTransforms<F>::bundleNumbers() const noexcept {
    const std::size_t longest = std::max(along.length(), across ? across->length() : 0);
    return (longest + lines()) * bundle();
}

template <class F>
auto PlaneTransforms<F>::makeWork() const -> Work {
    return {BundleNumbers<F>(stagedNumbers()), BundleNumbers<F>(bundleNumbers()),
            BundleNumbers<F>(bundleNumbers())};
}

/// Fills a bundle with lines of a plane in a direction, and with zeros.
template <class F>
template <class T>
void PlaneTransforms<F>::load(const Plane<const T>& plane, std::size_t direction,
                              std::int64_t firstLine, std::size_t length, F* to) const {
    const std::size_t other = 1 - direction;
    const std::size_t width = lines();
    const auto count = static_cast<std::size_t>(
        std::min<std::int64_t>(plane.sizes[other] - firstLine, static_cast<std::int64_t>(width)));
    const std::ptrdiff_t step = plane.strides[other];
    const auto size = static_cast<std::size_t>(plane.sizes[direction]);
    for (std::size_t n = 0; n < size; ++n, to += 2 * width) {
        const std::ptrdiff_t begin =
            firstLine * step + static_cast<std::ptrdiff_t>(n) * plane.strides[direction];
        const T* const re = plane.re + begin;
        const T* const im = plane.im + begin;
        if (step == 1) {
            for (std::size_t i = 0; i < count; ++i) to[i] = static_cast<F>(re[i]);
            for (std::size_t i = 0; i < count; ++i) to[width + i] = static_cast<F>(im[i]);
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                to[i] = static_cast<F>(re[static_cast<std::ptrdiff_t>(i) * step]);
                to[width + i] = static_cast<F>(im[static_cast<std::ptrdiff_t>(i) * step]);
            }
        }
        std::fill(to + count, to + width, F{});
        std::fill(to + width + count, to + 2 * width, F{});
    }
    std::fill_n(to, (length - size) * 2 * width, F{});
}

/// Takes numbers from `first` on of a bundle's lines from `lead` on to lines of a plane in a
/// direction.
template <class F>
template <class T>
void PlaneTransforms<F>::store(const F* from, const Plane<T>& target, std::size_t direction,
                               std::int64_t first, std::int64_t firstLine,
                               std::int64_t lead) const {
    const std::size_t other = 1 - direction;
    const std::size_t width = lines();
    const auto count = static_cast<std::size_t>(std::min<std::int64_t>(
        target.sizes[other] - firstLine, static_cast<std::int64_t>(width) - lead));
    const std::ptrdiff_t step = target.strides[other];
    from += static_cast<std::size_t>(first) * 2 * width + static_cast<std::size_t>(lead);
    for (std::int64_t n = 0; n < target.sizes[direction]; ++n, from += 2 * width) {
        const std::ptrdiff_t begin = firstLine * step + n * target.strides[direction];
        T* const re = target.re + begin;
        T* const im = target.im + begin;
        for (std::size_t i = 0; i < count; ++i) {
            re[static_cast<std::ptrdiff_t>(i) * step] = static_cast<T>(from[i]);
            im[static_cast<std::ptrdiff_t>(i) * step] = static_cast<T>(from[width + i]);
        }
    }
}

template <class F>
template <class T>
void PlaneTransforms<F>::forward(const Plane<const T>& plane, Work& work, const Take& take) const {
    const auto width = static_cast<std::int64_t>(lines());
    F* const from = work.from.data();
    F* const to = work.to.data();
    if (!across) {
        std::size_t block = 0;
        for (std::int64_t line = 0; line < plane.sizes[1]; line += width) {
            load(plane, 0, line, along.length(), from);
            along.transform(from, to);
            take(block++, to);
        }
        return;
    }
    const std::size_t square = lines() * bundle();
    const std::size_t rows = blocksOf(along.length(), lines()) * square;
    for (std::int64_t line = 0; line < plane.sizes[0]; line += width) {
        load(plane, 1, line, across->length(), from);
        across->transform(from, to);
        // What fills up the last square.
        std::fill(to + across->length() * bundle(), to + allBlocks * square, F{});
        F* const staged = work.staged.data() + static_cast<std::size_t>(line) * bundle();
        for (std::size_t b = 0; b < allBlocks; ++b)
            across->turn(to + b * square, staged + b * rows);
    }
    for (std::size_t b = 0; b < allBlocks; ++b) {
        F* const staged = work.staged.data() + b * rows;
        std::fill(staged + static_cast<std::size_t>(plane.sizes[0]) * bundle(),
                  staged + blockSize(), F{});
        along.transform(staged, to);
        take(b, to);
    }
}

template <class F>
template <class T>
void PlaneTransforms<F>::inverse(const Make& make, const std::array<std::int64_t, 2>& first,
                                 const Plane<T>& target, Work& work) const {
    const auto width = static_cast<std::int64_t>(lines());
    F* const from = work.from.data();
    F* const to = work.to.data();
    const auto transformBlock = [&](std::size_t b) {
        make(b, from);
        back.transform(from, to);
    };
    if (!across) {
        const std::int64_t last = first[1] + target.sizes[1];
        for (std::int64_t b = first[1] / width; b * width < last; ++b) {
            transformBlock(static_cast<std::size_t>(b));
            const std::int64_t begin = std::max(first[1], b * width);
            store(to, target, 0, first[0], begin - first[1], begin - b * width);
        }
        return;
    }
    const std::size_t square = lines() * bundle();
    const std::size_t columns = allBlocks * square;
    const std::size_t targetBlocks = blocksOf(static_cast<std::size_t>(target.sizes[0]), lines());
    for (std::size_t b = 0; b < allBlocks; ++b) {
        transformBlock(b);
        const F* const begin = to + static_cast<std::size_t>(first[0]) * bundle();
        for (std::size_t c = 0; c < targetBlocks; ++c)
            across->turn(begin + c * square, work.staged.data() + c * columns + b * square);
    }
    for (std::size_t c = 0; c < targetBlocks; ++c) {
        home->transform(work.staged.data() + c * columns, to);
        store(to, target, 1, first[1], static_cast<std::int64_t>(c) * width, 0);
    }
}

template class PlaneTransforms<float>;
template class PlaneTransforms<double>;
template void PlaneTransforms<float>::forward(const Plane<const float>&, Work&, const Take&) const;
template void PlaneTransforms<float>::forward(const Plane<const double>&, Work&, const Take&) const;
template void PlaneTransforms<double>::forward(const Plane<const float>&, Work&, const Take&) const;
template void PlaneTransforms<double>::forward(const Plane<const double>&, Work&,
                                               const Take&) const;
template void PlaneTransforms<float>::inverse(const Make&, const std::array<std::int64_t, 2>&,
                                              const Plane<float>&, Work&) const;
template void PlaneTransforms<float>::inverse(const Make&, const std::array<std::int64_t, 2>&,
                                              const Plane<double>&, Work&) const;
template void PlaneTransforms<double>::inverse(const Make&, const std::array<std::int64_t, 2>&,
                                               const Plane<float>&, Work&) const;
template void PlaneTransforms<double>::inverse(const Make&, const std::array<std::int64_t, 2>&,
                                               const Plane<double>&, Work&) const;

}  // namespace pistonfield
