#pragma once

#include "radiometry/core/Types.h"

#include <iosfwd>
#include <memory>

namespace tessik::radiometry {

/// Predicts the signal that a sensor gives without light.
class RADIOMETRY_EXPORT IDarkCurrentModel {
public:
    IDarkCurrentModel() = default;
    IDarkCurrentModel(const IDarkCurrentModel&) = delete;
    IDarkCurrentModel& operator=(const IDarkCurrentModel&) = delete;
    virtual ~IDarkCurrentModel() = default;

    /// One map a band, image height x image width, in DN.
    [[nodiscard]] virtual BandImage map() const = 0;
    /// A description for logs.
    virtual void print(std::ostream& os) const = 0;
};

/// As the model prints itself.
RADIOMETRY_EXPORT std::ostream& operator<<(std::ostream& os, const IDarkCurrentModel& model);

/// The dark levels that the metadata state: one number a band, or a pattern repeated over the image
/// (one value per cell of a colour filter, say). A pattern that does not divide the image gives a
/// smaller map. Keeps a reference to the metadata.
/// Promised, its name too: docs/contract.md, base-name and borrowed.
class RADIOMETRY_EXPORT DarkCurrentModelBase final : public IDarkCurrentModel {
public:
    /// @param exif must outlive the model
    explicit DarkCurrentModelBase(const ExifInfo& exif);
    ~DarkCurrentModelBase() override;

    /// Empty when the metadata state no levels, or not one entry a band.
    [[nodiscard]] BandImage map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// The dark current of a Sequoia band at the image's ISO and sensor temperature; one map, of the
/// size of the factory's pattern. Keeps references to the metadata and the parameters.
class RADIOMETRY_EXPORT DarkCurrentModelSequoia final : public IDarkCurrentModel {
public:
    /// @param exif, parameter must outlive the model
    DarkCurrentModelSequoia(const ExifInfo& exif, const sequoia::DarkCurrentParameter& parameter);
    ~DarkCurrentModelSequoia() override;

    /// An ISO below 1 is warned of and used as it is.
    /// @throws std::bad_optional_access when the metadata state no sensor temperature
    [[nodiscard]] BandImage map() const override;
    void print(std::ostream& os) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// The model for an image: the Sequoia one when there are parameters for it, else the generic one.
/// @param model may be null; must outlive the result, as must exif
RADIOMETRY_EXPORT std::unique_ptr<IDarkCurrentModel>
createDarkCurrentModel(const ExifInfo& exif, const sequoia::ModelParameter* model);

} // namespace tessik::radiometry
