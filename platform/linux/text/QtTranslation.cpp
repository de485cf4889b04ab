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

InterfaceTranslator::InterfaceTranslator(LocalizedStrings& strings) : strings_(strings) {
  QCoreApplication::installTranslator(this);
}

InterfaceTranslator::~InterfaceTranslator() { QCoreApplication::removeTranslator(this); }

QString InterfaceTranslator::translate(const char*, const char*, const char* disambiguation,
                                       int) const {
  if (!disambiguation || *disambiguation == '\0') {
    return {};
  }
  const std::string text = strings_.stringForKey(disambiguation, "");
  return text.empty() ? QString() : QString::fromStdString(text);
}

}  // namespace quillo
