#include "platform/panel/PanelScene.h"

#include "platform/panel/Detectors.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <qrencode.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace tessik::target {
namespace {

/// Turns sides of the code into px.
Eigen::Matrix3d imageFromCode(const PanelPose& pose) {
    Eigen::Matrix3d projection = Eigen::Matrix3d::Identity();
    projection.topLeftCorner<2, 2>() =
        pose.side * Eigen::Rotation2Dd(pose.angle).toRotationMatrix();
    projection.bottomLeftCorner<1, 2>() = 2.0 * pose.lean.transpose();
    return Eigen::Affine2d(Eigen::Translation2d(pose.centre)).matrix() * projection;
}

struct CodeDeleter {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

bool isWithin(const Eigen::Vector2d& place, double halfSide) {
    return place.cwiseAbs().maxCoeff() < halfSide;
}

} // namespace

Eigen::Vector2d PanelPose::inImage(const Eigen::Vector2d& place) const {
    return (imageFromCode(*this) * place.homogeneous()).hnormalized();
}

PanelScene::PanelScene(Eigen::Index rows, Eigen::Index cols) : m_band(rows, cols) {
    for (float& value : m_band.reshaped()) {
        value = static_cast<float>(kDark + 3000.0 + static_cast<double>(m_random() % 8000));
    }
}

PanelScene& PanelScene::fill(double value) {
    m_band.setConstant(static_cast<float>(value));
    return *this;
}

PanelScene& PanelScene::draw(const DrawnPanel& panel) {
    const std::unique_ptr<QRcode, CodeDeleter> code(
        QRcode_encodeString(panel.text.c_str(), 0, QR_ECLEVEL_M, QR_MODE_8, 1));
    // The white around a code, and the frame around all, are this far from its centre.
    constexpr double kLabel = 0.66;
    constexpr double kFrame = 0.15;
    const auto valueAt = [&](const Eigen::Vector2d& place) -> std::optional<double> {
        if (isWithin(place, 0.5)) {
            const auto module = [&code](double x) {
                return static_cast<int>((x + 0.5) * code->width);
            };
            const int at = module(place.y()) * code->width + module(place.x());
            return (code->data[at] & 1) != 0 ? panel.ink : panel.paper;
        }
        if (isWithin(place, kLabel)) {
            return panel.paper;
        }
        const Eigen::Vector2d offset = place - panel.surface;
        if (panel.hasSurface && isWithin(offset, 0.5 * panel.surfaceSide)) {
            return panel.grey;
        }
        const bool isFrame =
            isWithin(place, kLabel + kFrame) || isWithin(offset, 0.5 * panel.surfaceSide + kFrame);
        return panel.isFramed && isFrame ? std::optional(panel.ink) : std::nullopt;
    };
    const Eigen::Matrix3d codeFromImage = imageFromCode(panel.pose).inverse();
    constexpr int kSubpixels = 2;
    for (Eigen::Index row = 0; row < m_band.rows(); ++row) {
        for (Eigen::Index column = 0; column < m_band.cols(); ++column) {
            const Eigen::Vector2d px(static_cast<double>(column), static_cast<double>(row));
            constexpr double kReach = 3.0; // sides
            if ((px - panel.pose.centre).norm() > kReach * panel.pose.side) {
                continue;
            }
            double sum = 0.0;
            for (int part = 0; part < kSubpixels * kSubpixels; ++part) {
                const auto offset = [](int index) { return (index + 0.5) / kSubpixels - 0.5; };
                const int subrow = part / kSubpixels;
                const Eigen::Vector2d subpixel(offset(part % kSubpixels), offset(subrow));
                const Eigen::Vector3d place =
                    codeFromImage * Eigen::Vector2d(px + subpixel).homogeneous();
                const auto ground = static_cast<double>(m_band(row, column));
                sum += place.z() > 0.0 ? valueAt(place.hnormalized()).value_or(ground) : ground;
            }
            m_band(row, column) = static_cast<float>(sum / (kSubpixels * kSubpixels));
        }
    }
    return *this;
}

PanelScene& PanelScene::blur(int times) {
    const Eigen::Index rows = m_band.rows() - 2;
    const Eigen::Index cols = m_band.cols() - 2;
    for (int i = 0; i < 2 * times; ++i) {
        const BandMatrix wide =
            (m_band.leftCols(cols) + 2.0F * m_band.middleCols(1, cols) + m_band.rightCols(cols)) /
            4.0F;
        m_band.block(1, 1, rows, cols) =
            (wide.topRows(rows) + 2.0F * wide.middleRows(1, rows) + wide.bottomRows(rows)) / 4.0F;
    }
    return *this;
}

PanelScene& PanelScene::addNoise(double standardDeviation) {
    std::normal_distribution<double> noise(0.0, standardDeviation);
    for (float& value : m_band.reshaped()) {
        value = static_cast<float>(
            std::clamp(static_cast<double>(value) + noise(m_random), 0.0, 65520.0));
    }
    return *this;
}

InputImage PanelScene::image(double wavelength) const {
    InputImage image;
    image.exif = test::plainExif(static_cast<std::uint64_t>(m_band.cols()),
                                 static_cast<std::uint64_t>(m_band.rows()));
    image.exif.bands = {{wavelength, 10.0}};
    image.exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, kDark)};
    return image;
}

Detection PanelScene::find() const {
    return targetDetectors().at(1)->find(image(), {m_band});
}

} // namespace tessik::target
