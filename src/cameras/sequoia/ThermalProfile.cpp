#include "cameras/sequoia/ThermalProfile.h"

#include "core/Fail.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QList>

#include <cmath>
#include <unordered_map>

namespace tessik::radiometry::sequoia {
namespace {

/// A profile has a few lines; whatever is longer is something else.
constexpr qint64 kMaxBytes = 65536;

QByteArray readBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(file.errorString());
    }
    QByteArray bytes = file.read(kMaxBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        fail(file.errorString());
    }
    if (bytes.size() > kMaxBytes) {
        fail("longer than ", kMaxBytes, " bytes");
    }
    return bytes;
}

/// The line without its comment and the blanks around it.
QString contentOf(const QByteArray& line) {
    const QString text = QString::fromUtf8(line);
    return text.left(text.indexOf('#')).trimmed();
}

} // namespace

void applyThermalProfile(const QString& path, BandModels& models) {
    std::unordered_map<QString, double> coefficients;
    int number = 0;
    for (const QByteArray& line : readBytes(path).split('\n')) {
        ++number;
        const QString content = contentOf(line);
        if (content.isEmpty()) {
            continue;
        }
        const int equals = content.indexOf('=');
        if (equals < 0) {
            fail("line ", number, ": expected a band name, '=' and a coefficient");
        }
        const QString name = content.left(equals).trimmed();
        if (models.find(name) == models.end()) {
            fail("line ", number, ": unknown band '", name, "'");
        }
        const QString value = content.mid(equals + 1).trimmed();
        bool isNumber = false;
        const double coefficient = value.toDouble(&isNumber);
        if (!isNumber || !std::isfinite(coefficient)) {
            fail("line ", number, ": '", value, "' is not a finite number");
        }
        if (!coefficients.emplace(name, coefficient).second) {
            fail("line ", number, ": band '", name, "' is stated twice");
        }
    }
    if (coefficients.empty()) {
        fail("states no coefficient");
    }
    for (const auto& [name, coefficient] : coefficients) {
        models.at(name).darkCurrent.temperatureCoefficient = coefficient;
    }
}

} // namespace tessik::radiometry::sequoia
