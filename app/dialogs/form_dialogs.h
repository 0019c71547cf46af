// The forms the Application shows by name (UserInterface::ShowForm), made
// as Qt dialogs over their models.
//
// Contract:
//  - MakeFormDialog gives the dialog of a form whose model the Application
//    has set up: "fNew", "fSize", "fCanvas", "fOrientation", "fRotate",
//    "fOptions", "fKeyboard", "fProperties", "fFilter". It gives null for a
//    form this build has no window for, or whose model is missing.
#pragma once

#include <QDialog>
#include <memory>
#include <string_view>

namespace kelvane {

class Application;

std::unique_ptr<QDialog> MakeFormDialog(std::string_view form, Application& app, QWidget* owner);

}  // namespace kelvane
