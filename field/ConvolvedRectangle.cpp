// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>

#include "field/ConvolvedElement.h"
#include "field/PistonLattice.h"
#include "field/errorLimits.h"

namespace pistonfield {

namespace {

template <class T>
class ConvolvedRectangle : public ConvolvedElement<T> {
  public:
    explicit ConvolvedRectangle(std::shared_ptr<const ArrayTerms> asked)
        : asked(std::move(asked)), face(faceOf(piston(), this->asked->request().wave)) {}

    std::shared_ptr<const ElementTerms> terms() const noexcept override { return asked; }
    std::size_t components() const noexcept override { return 1; }
    typename ConvolvedElement<T>::Seconds seconds() const noexcept override {
        return {2e-9, 0.5e-9};
    }
    double nearest() const noexcept override { return 0; }

    double limitAt(double distance, double part) const noexcept override {
        return asked->limitOf(face, part).at(face.k * distance);
    }

    double largestAt(double distance, double /*height*/) const noexcept override {
        return localAmplitude(face, distance);
    }

    std::optional<Face> spreadFace() const noexcept override { return face; }

    std::unique_ptr<const ElementLattice<T>> on(const Lattice& lattice, std::size_t /*along*/,
                                                double part) const override {
        return std::make_unique<const PistonLattice<T>>(piston(), asked->request().wave, lattice,
                                                        asked->limitOf(face, part));
    }

  private:
    const RectangularPiston& piston() const noexcept {
        return asked->array().elements.front().piston;
    }

    std::shared_ptr<const ArrayTerms> asked;
    Face face;
};

}  // namespace

template <class T>
std::unique_ptr<const ConvolvedElement<T>> makeConvolvedRectangle(
    std::shared_ptr<const ArrayTerms> terms) {
    return std::make_unique<const ConvolvedRectangle<T>>(std::move(terms));
}

template std::unique_ptr<const ConvolvedElement<float>> makeConvolvedRectangle(
    std::shared_ptr<const ArrayTerms>);
template std::unique_ptr<const ConvolvedElement<double>> makeConvolvedRectangle(
    std::shared_ptr<const ArrayTerms>);

}  // namespace pistonfield
