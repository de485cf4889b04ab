#include "platform/linux/text/QtTranslation.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace quillo {

QtTranslation::QtTranslation(const std::string& language) {
  if (translator_.load("qtbase_" + QString::fromStdString(language),
                       QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&translator_);
  }
}

QtTranslation::~QtTranslation() { QCoreApplication::removeTranslator(&translator_); }

}  // namespace quillo
