#pragma once

#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <cstdint>
#include <iosfwd>
#include <memory>

namespace tessik::radiometry {

/// Relative brightness over an image.
class RADIOMETRY_EXPORT IVignettingModel {
public:
    IVignettingModel() = default;
    IVignettingModel(const IVignettingModel&) = delete;
    IVignettingModel& operator=(const IVignettingModel&) = delete;
    virtual ~IVignettingModel() = default;

    /// Brightness of each pixel, height x width: what to divide by.
    [[nodiscard]] virtual BandMatrix map() const = 0;
    /// A description for logs.
    virtual void print(std::ostream& os) const = 0;
};

/// As the model prints itself.
RADIOMETRY_EXPORT std::ostream& operator<<(std::ostream& os, const IVignettingModel& model);

/// k0 + k1 rho + ... + kn rho^n, rho the distance to the centre in px.
class RADIOMETRY_EXPORT VignettingModelRadialPolynomial final : public IVignettingModel {
public:
    /// Trailing zero coefficients are dropped, but for the first one.
    VignettingModelRadialPolynomial(const Eigen::VectorXd& coefficients,
                                    std::uint64_t width,
                                    std::uint64_t height,
                                    double centerX,
                                    double centerY);
    ~VignettingModelRadialPolynomial() override;
    [[nodiscard]] BandMatrix map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// Sum of C(i, j) x^i y^j with x = column / width and y = row / height.
class RADIOMETRY_EXPORT VignettingModel2DPolynomial final : public IVignettingModel {
public:
    /// @param coefficients row = power of x, column = power of y
    VignettingModel2DPolynomial(const Eigen::MatrixXd& coefficients,
                                std::uint64_t width,
                                std::uint64_t height);
    ~VignettingModel2DPolynomial() override;
    [[nodiscard]] BandMatrix map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// A coarse grid of brightness whose even and odd rows describe the sensor's two interleaved row
/// fields; each field is enlarged on its own. Keeps a reference to the grid (promised:
/// docs/contract.md, borrowed).
class RADIOMETRY_EXPORT VignettingModelSequoia final : public IVignettingModel {
public:
    /// @param coefficients the grid, which must outlive the model
    VignettingModelSequoia(const Eigen::MatrixXd& coefficients,
                           std::uint64_t width,
                           std::uint64_t height);
    ~VignettingModelSequoia() override;
    /// @throws error when the image does not divide evenly into the grid
    /// @throws std::runtime_error when a field of the grid is smaller than 2 x 2
    [[nodiscard]] BandMatrix map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// No vignetting: ones.
class RADIOMETRY_EXPORT VignettingModelNone final : public IVignettingModel {
public:
    VignettingModelNone(std::uint64_t width, std::uint64_t height);
    ~VignettingModelNone() override;
    [[nodiscard]] BandMatrix map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// The model that a description asks for. The description must outlive it.
RADIOMETRY_EXPORT std::unique_ptr<IVignettingModel>
createVignettingModel(const VignettingData& data, const CameraParams& camera);

} // namespace tessik::radiometry
