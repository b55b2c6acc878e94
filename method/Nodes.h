// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace pistonfield {

/// A rule's nodes and weights on [-1, 1].
template <class T>
struct Nodes {
    const T* abscissas;
    const T* weights;
    int count;
};

}  // namespace pistonfield
