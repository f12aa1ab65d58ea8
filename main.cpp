#include "ui/window/TallyfoldApp.h"

int main(int argc, char** argv) {
  tallyfold::TallyfoldApp app(argc, argv);
  return app.run();
}
