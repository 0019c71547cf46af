#include "shell/menu_tables.h"

#include <algorithm>

namespace kelvane {

namespace {

MenuItem Exec(int32_t index, std::string_view caption, std::string_view word) {
  return MenuItem{index, caption, MenuRoute::MenuExec, word};
}
MenuItem Static(int32_t index, std::string_view caption, std::string_view word) {
  return MenuItem{index, caption, MenuRoute::MenuStatic, word};
}
MenuItem Form(int32_t index, std::string_view caption, std::string_view form) {
  return MenuItem{index, caption, MenuRoute::ShowForm, form};
}
MenuItem Box(int32_t index, std::string_view caption, std::string_view form) {
  return MenuItem{index, caption, MenuRoute::SideBox, form, index};
}
MenuItem Page(int32_t index, std::string_view caption, std::string_view address) {
  return MenuItem{index, caption, MenuRoute::WebPage, address};
}

// A layer effect array: element i calls ApplyLayerEffects with base + i.
MenuArray LayerArray(std::string_view name, int32_t base, std::vector<std::string_view> captions) {
  MenuArray array{name, "", true, base, {}};
  for (size_t i = 0; i < captions.size(); ++i) {
    const int32_t index = static_cast<int32_t>(i);
    array.Items.push_back(MenuItem{index, captions[i], MenuRoute::LayerEffect, "", base + index});
  }
  return array;
}

std::vector<MenuArray> BuildMenuArrays() {
  std::vector<MenuArray> arrays;

  arrays.push_back(
      {"FILE",
       "",
       false,
       0,
       {Static(0, "New", "NEW"), Static(1, "Open", "OPEN"), Exec(2, "From Clipboard", "CREATEFROMCLIPBOARD"),
        Static(4, "Close", "CLOSE"), Static(6, "Save Enhanced", "SAVE"),
        Static(7, "Save Enhanced As", "SAVEAS"), Static(9, "Save Layered", "SAVELAYEREDIMAGE"),
        Static(10, "Save Layered As", "SAVELAYEREDIMAGEAS"), Static(12, "Save Optimized", "SAVEOPTIMIZED"),
        Static(13, "Save Optimized As", "SAVEOPTIMIZEDAS"),
        Static(14, "Save Image For Web...", "IMAGESAVEOPTIONS"),
        Static(16, "Update Layer view from Enhance view", "UPDATELAYERS"),
        Static(17, "Update Enhance view From Layer view", "UPDATEORIGINAL"),
        Form(19, "Batch Process...", "fBatch"), Form(20, "Batch Convert...", "fBatchConvert"),
        Form(21, "HTML Album...", "fAlbums")}});

  arrays.push_back(
      {"PRINTER", "", false, 0, {Static(0, "Printer Set up", "PRINTERSETUP"), Exec(1, "Print", "PRINT")}});

  {
    MenuArray recent{"RF", "", false, 0, {}};
    for (int32_t slot = 0; slot < 8; ++slot)
      recent.Items.push_back(MenuItem{slot, "Empty", MenuRoute::RecentFile, "", slot});
    arrays.push_back(std::move(recent));
  }

  arrays.push_back(
      {"EDIT",
       "",
       true,
       0,
       {Exec(0, "Undo", "UNDO"), Exec(1, "Redo", "REDO"), Exec(3, "Cut", "CUT"), Exec(4, "Copy", "COPY"),
        Exec(5, "Paste", "PASTE"), Exec(7, "Create New Copy", "CREATENEWCOPY"),
        Exec(8, "Copy Image to Clipboard", "COPYIMAGETOCLIPBOARD"),
        Exec(9, "Create From Clipboard", "CREATEFROMCLIPBOARD"), Exec(11, "Select All", "SELECTALL"),
        Exec(12, "Select None", "SELECTNONE"), Exec(13, "Invert Selection", "INVERTSELECTION"),
        Exec(15, "Load Selection...", "LOADSELECTION"), Exec(16, "Save Selection...", "SAVESELECTION"),
        Exec(18, "Crop", "CROP"), Exec(19, "Create Crop as New Image", "NEWIMAGEFROMCROP"),
        Exec(21, "Image Properties", "IMAGEPROPERTIES"), Static(22, "Preference...", "OPTIONS")}});

  arrays.push_back(
      {"mnuRestore", "", true, 0, {MenuItem{0, "Restore Original", MenuRoute::RestoreOriginal, ""}}});

  arrays.push_back(
      {"IMAGE",
       "",
       true,
       0,
       {Exec(0, "Size ...", "IMAGESIZE"), Exec(1, "Canvas ...", "CANVASSIZE"),
        Exec(2, "Orientation ...", "IMAGEORIENTATION"), Exec(3, "Rotation ...", "IMAGEROTATE")}});

  arrays.push_back({"ADJUSTMENT",
                    "",
                    true,
                    0,
                    {Exec(0, "Levels...", "REDUCTION"), Exec(1, "Saturation...", "CUSTOMSATURATION"),
                     Exec(2, "Brightness...", "BRIGHTNESS"), Exec(3, "Contrast...", "CONTRAST"),
                     Exec(4, "Gamma...", "GAMMA")}});

  arrays.push_back({"ZoomP",
                    "",
                    true,
                    0,
                    {Exec(0, "200 %", "200"), Exec(1, "300 %", "300"), Exec(2, "400 %", "400"),
                     Exec(3, "500 %", "500"), Exec(4, "600 %", "600"), Exec(5, "700 %", "700")}});

  arrays.push_back(
      {"AA",
       "Quality Sizing",
       true,
       0,
       {Exec(0, "2x", "2x"), Exec(1, "3x", "3x"), Exec(2, "4x", "4x"), Exec(3, "5x", "5x"),
        Exec(5, "x/2", "x2"), Exec(6, "x/3", "x3"), Exec(7, "x/4", "x4"), Exec(8, "x/5", "x5")}});

  arrays.push_back({"ORIGINAL", "", true, 0, {Exec(0, "Original Size", "ORIGINAL")}});

  {
    // The same numbers as LayerFlip (Vertical, Horizontal, Both) in this order.
    MenuArray flip = LayerArray("AdjustFlip", 78, {"Flip Horizontally", "Flip Vertically", "Flip Both"});
    arrays.push_back(std::move(flip));
  }

  arrays.push_back({"FILTERS",
                    "",
                    true,
                    0,
                    {Exec(0, "Invert", "INVERT"),
                     Exec(1, "Greyscale", "GRAYSCALE"),
                     Exec(2, "Relief", "RELIEF"),
                     Exec(3, "Erode", "ERODE"),
                     Exec(4, "Dilate", "DILATE"),
                     Exec(5, "Painting", "PAINTING"),
                     Exec(6, "Halftone", "HAFTONE"),
                     Exec(7, "Pixelize", "PIXELIZE"),
                     Exec(8, "X-Black", "XBLACK"),
                     Exec(9, "Thermique", "THERMIQUE"),
                     Exec(10, "Photo Cop", "PHOTOCOP"),
                     Exec(11, "Enhance Edge", "EDGEENHANCE"),
                     Exec(12, "Enhance White", "ENHANCEWHITE"),
                     Exec(13, "Enhance Black", "ENHANCEBLACK"),
                     Exec(15, "Blur...", "CUSTOMBLUR"),
                     Exec(16, "Noise...", "CUSTOMNOISE"),
                     Exec(17, "Emboss...", "CUSTOMEMBOSS"),
                     Exec(18, "Engrave...", "CUSTOMENGRAVE"),
                     Exec(19, "Diffuse...", "CUSTOMDIFFUSE"),
                     Exec(20, "Soften...", "CUSTOMSOFTEN"),
                     Exec(21, "Sharpen...", "CUSTOMSHARPEN"),
                     Exec(22, "Contour...", "CUSTOMCONTOUR"),
                     Exec(23, "Luminousity...", "LIGHTCUSTOM"),
                     MenuItem{24, "Bump Mapping...", MenuRoute::BumpMapping, ""}}});

  arrays.push_back(
      {"SHAPES",
       "&Deformations",
       true,
       0,
       {Exec(0, "Lens...", "LENS"), Exec(1, "Waves...", "WAVES"), Exec(2, "Bend...", "BEND"),
        Exec(3, "Fold...", "FOLD"), Exec(4, "Rotate...", "ROTATE"), Exec(5, "Stretch...", "STRETCH"),
        Exec(6, "Tile...", "TILE"), Exec(7, "Twirl...", "TWIRL"), Exec(8, "Add Grid...", "ADDGRID"),
        Exec(9, "Lens Flare...", "LENSFLARE"), Exec(10, "Add Scanlines...", "ADDSCANLINES"),
        Exec(11, "Glass...", "CUSTOMGLASS"), Exec(12, "Curtain...", "CUSTOMCURTAIN")}});

  arrays.push_back({"COLORS",
                    "&Colors 1",
                    true,
                    0,
                    {Exec(0, "Old Photo", "OLDPHOTO"), Exec(1, "Equalize", "EQUALIZE"),
                     Exec(2, "Sepia Tone", "SEPIATONE"), Exec(3, "Colorize...", "COLORIZE"),
                     Exec(4, "Tweak RGB...", "RGBLEVELS"), Exec(5, "Hue Stretch...", "HUESTRETCH"),
                     Exec(6, "Hue Rotation...", "HUEROTATION"), Exec(7, "Grey Rotation...", "GREYROTATION"),
                     Exec(8, "Shift...", "SHIFT"), Exec(9, "Sketch...", "SKETCH"),
                     Exec(10, "Isolate...", "ISOLATE"), Exec(11, "Reduce Colors...", "REDUCTION")}});

  // Captions read as "Replace Color..." and so on in the history.
  arrays.push_back({"REPLACE",
                    "",
                    true,
                    0,
                    {Exec(0, "Color...", "REPLACE"), Exec(1, "Hue / Saturation...", "REPLACEHUESAT"),
                     Exec(2, "Luminousity...", "REPLACELUMINOUS")}});

  arrays.push_back({"mnuApplyPalette", "", true, 0, {Form(0, "Apply Palette...", "fPaletteApply")}});
  arrays.push_back({"mnuUserDefined", "", true, 0, {Form(0, "User Defined...", "fUserFilter")}});
  arrays.push_back({"mnuMerge", "", true, 0, {Form(0, "Overlay Image...", "fOverlay")}});
  arrays.push_back({"Tools", "", true, 0, {Form(0, "Histogram...", "fHistogram")}});

  arrays.push_back(
      {"Colorized",
       "Colors 2",
       true,
       0,
       {Exec(0, "Soft Red", "SOFTRED"), Exec(1, "Hard Red", "HARDRED"), Exec(2, "Soft Green", "SOFTGREEN"),
        Exec(3, "Hard Green", "HARDGREEN"), Exec(4, "Soft Blue", "SOFTBLUE"),
        Exec(5, "Hard Blue", "HARDBLUE"), Exec(6, "Soft Yellow", "SOFTYELLOW"),
        Exec(7, "Hard Yellow", "HARDYELLOW"), Exec(9, "Cyan", "CYAN"), Exec(10, "Magenta", "MAGENTA"),
        Exec(11, "Orange", "ORANGE"), Exec(12, "Purple", "PURPLE"), Exec(14, "Retro", "RETRO"),
        Exec(15, "Spotted", "SPOTTED"), Exec(16, "Wet Paper", "WETPAPER")}});

  arrays.push_back({"SWAP",
                    "",
                    true,
                    0,
                    {Exec(0, "RGB to BRG", "RGB2BRG"), Exec(1, "RGB to GBR", "RGB2GBR"),
                     Exec(2, "RGB to RBG", "RGB2RBG"), Exec(3, "RGB to BGR", "RGB2BGR"),
                     Exec(4, "RGB to GRB", "RGB2GRB"), Exec(6, "RGB Banks...", "RGBBANKS")}});

  arrays.push_back({"CAPTURE",
                    "",
                    false,
                    0,
                    {Static(0, "Desktop", "CAPTUREDESKTOP"), Static(1, "Foreground", "CAPTUREFOREGROUND"),
                     Static(2, "Background", "CAPTUREBACKGROUND"), Form(4, "Custom...", "fCapture")}});

  arrays.push_back(
      {"WALLPAPER",
       "",
       false,
       0,
       {Static(0, "Tile", "WTILE"), Static(1, "Center", "WCENTER"), Static(2, "Stretch", "WSTRETCH")}});

  arrays.push_back(
      {"VIEWS",
       "",
       false,
       0,
       {Static(0, "Tile Horizontally", "TILEHORIZONTALLY"), Static(1, "Tile Vertically", "TILEVERTICALLY"),
        Static(2, "Cascade", "CASCADE"), Box(4, "Color Box", "fToolColor"),
        Box(5, "Textures Box", "fToolTextures"), Box(6, "History Box", "fPaste"),
        Box(7, "Panoramic View", "fPanView"), Box(8, "Browser Box", "fToolBrowser"),
        Box(9, "Optimize Box", "finfo"), Box(10, "Layer Box", "fLayerBox")}});

  arrays.push_back({"RESET", "", false, 0, {Static(0, "Reset Settings", "RESET")}});

  arrays.push_back(
      {"ABOUT",
       "",
       false,
       0,
       {MenuItem{0, "Help", MenuRoute::Help, ""},
        Page(2, "Online Materials", "https://kelvane.example/materials"),
        Page(3, "Support", "https://kelvane.example/support"),
        Page(4, "Homepage", "https://kelvane.example/"),
        Page(5, "Nuvrel Solution", "https://nuvrel.example/"), Form(7, "Keyboard Shortcuts", "fKeyboard"),
        Form(9, "About Kelvane Professional", "fAbout")}});

  arrays.push_back(LayerArray("LayerAdjustment", 0,
                              {"Brightness...", "Contrast", "Sharpening", "Gamma", "Reduce Colors",
                               "Reduce to 8 colors", "Shift Effect", "Saturation", "Hue Adjustment",
                               "Color Balance", "WebColors Mode", "Medium Tones", "Stretch Histogram"}));
  arrays.push_back(LayerArray("LayerBlur", 16,
                              {"Anti-Alias", "Simple", "Smart", "Heavy...", "Softner...", "Motion...",
                               "Far...", "Radial...", "Zoom.."}));
  arrays.push_back(
      LayerArray("LayerTones", 27, {"Gray Tones", "Sepia Effect", "Ambient Light", "Tone Adjustment"}));
  arrays.push_back(LayerArray("LayerDistortion", 31,
                              {"Spoilt", "Rock Effect", "Equalize Noise", "Melt", "Fish Eye",
                               "Customized Fish Eye", "Twirl", "TwirlEx", "Swirl", "Make 3D", "Four Corners",
                               "Caricature", "Roll 360", "Polar Coordinates", "Cylindrical", "Mosaic"}));
  arrays.push_back(
      LayerArray("LayerWaves", 48, {"Simple...", "Block...", "Circular...", "Circular Enhanced..."}));
  arrays.push_back(LayerArray(
      "LayerBorders", 53,
      {"Backdrop Removal", "Emboss / Engrave", "Neon", "Detect Borders", "Find Edges", "Note Paper"}));
  arrays.push_back(LayerArray("LayerMetallic", 60, {"Metallic", "Gold", "Ice"}));
  arrays.push_back(LayerArray(
      "LayerEffects", 64,
      {"Invertion Adjust", "Monochrome", "Replace Color", "Random Points", "Solarize", "Canvas Adjust",
       "Relief", "Tile Effect", "Fragment", "Fog Effect", "Oil Paint", "Frost Glass", "Rain Drop"}));
  arrays.push_back(LayerArray("LayerFlip", 78, {"Vertical", "Horizontal", "Both"}));

  return arrays;
}

}  // namespace

const std::vector<MenuArray>& MenuArrays() {
  static const std::vector<MenuArray> arrays = BuildMenuArrays();
  return arrays;
}

const MenuArray* FindMenuArray(std::string_view name) {
  const auto& all = MenuArrays();
  auto it = std::find_if(all.begin(), all.end(), [&](const MenuArray& a) { return a.Name == name; });
  return it == all.end() ? nullptr : &*it;
}

const MenuItem* FindMenuItem(const MenuArray& array, int32_t index) {
  auto it = std::find_if(array.Items.begin(), array.Items.end(),
                         [&](const MenuItem& i) { return i.Index == index; });
  return it == array.Items.end() ? nullptr : &*it;
}

std::vector<int32_t> SeparatorIndexes(const MenuArray& array) {
  std::vector<int32_t> gaps;
  for (size_t i = 1; i < array.Items.size(); ++i)
    for (int32_t index = array.Items[i - 1].Index + 1; index < array.Items[i].Index; ++index)
      gaps.push_back(index);
  return gaps;
}

std::string ActionCaption(const MenuArray& array, const MenuItem& item) {
  if (array.Name == "REPLACE") return "Replace " + std::string(item.Caption);
  return std::string(item.Caption);
}

}  // namespace kelvane
