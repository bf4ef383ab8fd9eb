#pragma once

#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace tessik::flight::report {

/// By this, bands are in order of wavelength (nm). One whose wavelength is not known comes last.
double rankOf(double wavelengthNm);

/// Sorts objects by their "wavelength_nm"; those alike keep their order.
void sortByWavelength(nlohmann::json& list);

/// Indices of the cameras of a run, by the shortest wavelength of each.
std::vector<std::size_t> cameraOrder(const RunFiles& run);

/// Indices of a camera's bands in order of wavelength.
/// @param camera as the plan has it, which may state fewer bands than there are
std::vector<std::size_t> bandOrder(const nlohmann::json& camera, std::size_t bandCount);

/// Puts members of an object that are lists of one entry a band into this order; others stay.
void reorder(nlohmann::json& object,
             std::initializer_list<const char*> keys,
             const std::vector<std::size_t>& order);

} // namespace tessik::flight::report
