// The verbs of the command line. Each function adds its verb with its options to `app`; when the command line names
// that verb, it runs and leaves the exit status in `status` (0 done, 1 failed), or throws.
#pragma once

#include <CLI/CLI.hpp>

namespace app {

void AddBatch(CLI::App &app, int &status);
void AddBlur(CLI::App &app, int &status);
void AddBorder(CLI::App &app, int &status);
void AddBounds(CLI::App &app, int &status);
void AddCard(CLI::App &app, int &status);
void AddCompare(CLI::App &app, int &status);
void AddCompose(CLI::App &app, int &status);
void AddConvert(CLI::App &app, int &status);
void AddDraw(CLI::App &app, int &status);
void AddFormats(CLI::App &app, int &status);
void AddGallery(CLI::App &app, int &status);
void AddInfo(CLI::App &app, int &status);
void AddMask(CLI::App &app, int &status);
void AddPalette(CLI::App &app, int &status);
void AddResize(CLI::App &app, int &status);
void AddRotate(CLI::App &app, int &status);
void AddScene(CLI::App &app, int &status);
void AddShadow(CLI::App &app, int &status);
void AddShow(CLI::App &app, int &status);
void AddText(CLI::App &app, int &status);
void AddTurn(CLI::App &app, int &status);

}  // namespace app
