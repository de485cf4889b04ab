#include "platform/linux/dialogs/InterfaceTranslator.h"

#include <QCoreApplication>

namespace quillo {

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
