#pragma once

#include <QTranslator>

#include "platform/LocalizedStrings.h"

namespace quillo {

// Gives Qt the texts of the string tables: in an interface file the comment of a text is its key,
// and the text itself is what stands in when no table has it. Installed while it lives. Main
// thread.
class InterfaceTranslator final : public QTranslator {
 public:
  explicit InterfaceTranslator(LocalizedStrings& strings);
  ~InterfaceTranslator() override;

  QString translate(const char* context, const char* sourceText, const char* disambiguation,
                    int n) const override;
  bool isEmpty() const override { return false; }

 private:
  LocalizedStrings& strings_;
};

}  // namespace quillo
