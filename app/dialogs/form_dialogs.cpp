#include "dialogs/form_dialogs.h"

#include "dialogs/filter_dialog.h"
#include "dialogs/option_dialogs.h"
#include "dialogs/size_dialogs.h"
#include "dialogs/turn_dialogs.h"
#include "shell/application.h"

namespace kelvane {

std::unique_ptr<QDialog> MakeFormDialog(std::string_view form, Application& app, QWidget* owner) {
  std::unique_ptr<QDialog> dialog;
  if (form == "fNew") {
    dialog = std::make_unique<NewDocumentDialog>(app, owner);
  } else if (form == "fSize" && app.SizeDialog) {
    dialog = std::make_unique<ImageSizeDialog>(app, *app.SizeDialog, owner);
  } else if (form == "fCanvas" && app.CanvasDialog) {
    dialog = std::make_unique<CanvasSizeDialog>(app, *app.CanvasDialog, owner);
  } else if (form == "fOrientation" && app.OrientationDialog) {
    dialog = std::make_unique<CanvasOrientationDialog>(app, *app.OrientationDialog, owner);
  } else if (form == "fRotate" && app.RotateDialog) {
    dialog = std::make_unique<RotateImageDialog>(app, *app.RotateDialog, owner);
  } else if (form == "fOptions" && app.OptionsDialog) {
    dialog = std::make_unique<ThumbnailOptionsDialog>(app, *app.OptionsDialog, owner);
  } else if (form == "fKeyboard") {
    dialog = std::make_unique<KeyboardShortcutsDialog>(owner);
  } else if (form == "fProperties" && app.Properties) {
    dialog = std::make_unique<ImagePropertiesDialog>(*app.Properties, owner);
  } else if (form == "fFilter" && app.FilterDialog) {
    dialog = std::make_unique<FilterSettingsDialog>(app, *app.FilterDialog, owner);
  }
  if (dialog) dialog->setModal(true);
  return dialog;
}

}  // namespace kelvane
