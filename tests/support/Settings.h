#pragma once

#include "support/Support.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSettings>

namespace tessik::test {

/// While it lives, default-constructed QSettings are empty ones of its own.
class TemporarySettings {
public:
    TemporarySettings() {
        QSettings::setPath(QSettings::NativeFormat,
                           QSettings::UserScope,
                           QString::fromStdString(m_folder.path().string()));
        QCoreApplication::setOrganizationName(QStringLiteral("tessik"));
        QCoreApplication::setApplicationName(QStringLiteral("radiometry-tests"));
    }

private:
    TemporaryFolder m_folder;
};

} // namespace tessik::test
