// The GUI tests' entry: one QApplication for all tests, on Qt's offscreen
// platform unless the caller chose another one.
#include <gtest/gtest.h>

#include <QApplication>

namespace {
QtMessageHandler previousHandler = nullptr;

// The offscreen platform says so each time a window asks for what it lacks
// (raising, size hints); nothing else is dropped.
void QuietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (message.startsWith("This plugin does not support")) return;
  if (previousHandler) previousHandler(type, context, message);
}
}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  previousHandler = qInstallMessageHandler(QuietHandler);
  QApplication app(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
