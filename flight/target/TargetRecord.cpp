#include "flight/target/TargetRecord.h"

#include <cmath>

namespace tessik::flight {
namespace {

using radiometry::MeasuredTarget;
using radiometry::ValueHistogram;

Json toJson(const image::Ring& ring) {
    Json points = Json::array();
    for (const image::Point& point : ring) {
        points.push_back({point.x(), point.y()});
    }
    return points;
}

int pixel(const JsonReader& json) {
    const std::int64_t position = json.integer();
    if (position != static_cast<int>(position)) {
        json.fail("not in any image");
    }
    return static_cast<int>(position);
}

image::Ring ring(const JsonReader& json) {
    image::Ring result;
    for (const JsonReader& point : json.items()) {
        const std::vector<JsonReader> position = point.items();
        if (position.size() != 2) {
            point.fail("not a position [column, row]");
        }
        result.emplace_back(pixel(position[0]), pixel(position[1]));
    }
    return result;
}

Json toJson(const std::vector<ValueHistogram>& histograms) {
    Json list = Json::array();
    for (const ValueHistogram& histogram : histograms) {
        list.push_back(
            {{"from", histogram.from}, {"to", histogram.to}, {"counts", histogram.counts}});
    }
    return list.empty() ? Json() : list;
}

std::vector<ValueHistogram> histograms(const JsonReader& json) {
    std::vector<ValueHistogram> list;
    if (json.isNull()) {
        return list;
    }
    for (const JsonReader& item : json.items()) {
        ValueHistogram histogram{item["from"].number(), item["to"].number(), {}};
        for (const JsonReader& count : item["counts"].items()) {
            histogram.counts.push_back(count.integer());
        }
        list.push_back(std::move(histogram));
    }
    return list;
}

TargetType targetType(const JsonReader& json) {
    const auto type = targetTypeFromText(QString::fromStdString(json.text()));
    if (!type) {
        json.fail("not a type of target");
    }
    return *type;
}

} // namespace

Json toJson(const TargetRecord& record) {
    const MeasuredTarget& target = record.target;
    return {{"image", target.imagePath.toStdString()},
            {"camera", std::to_string(target.cameraId)},
            {"detector", target.detector.toStdString()},
            {"type", text::toString(target.target.type).toStdString()},
            {"id", target.target.id.toStdString()},
            {"region", toJson(target.target.region)},
            {"code", toJson(target.code)},
            {"reflectance", target.target.reflectanceFactors},
            {"mean", target.mean},
            {"standard_deviation", target.standardDeviation},
            {"invalid_share", target.invalidShare},
            {"sensitivity", target.target.sensitivity},
            {"used", target.isUsed},
            {"remark", target.remark.toStdString()},
            {"picture", orNull(record.picture)},
            {"histogram", toJson(target.histogram)}};
}

TargetRecord targetRecord(const JsonReader& json) {
    TargetRecord record;
    MeasuredTarget& target = record.target;
    const auto text = [&json](const char* key) { return QString::fromStdString(json[key].text()); };
    target.imagePath = text("image");
    target.cameraId = json["camera"].id();
    target.detector = text("detector");
    target.target.type = targetType(json["type"]);
    target.target.id = text("id");
    target.target.region = ring(json["region"]);
    target.code = ring(json["code"]);
    target.target.reflectanceFactors = json["reflectance"].numbers();
    target.mean = json["mean"].numbers();
    target.standardDeviation = json["standard_deviation"].numbers();
    target.invalidShare = json["invalid_share"].numbers();
    target.target.sensitivity = json["sensitivity"].numbers();
    target.isUsed = json["used"].flag();
    target.remark = text("remark");
    target.histogram = histograms(json["histogram"]);
    if (!json["picture"].isNull()) {
        record.picture = json["picture"].text();
    }
    return record;
}

} // namespace tessik::flight
