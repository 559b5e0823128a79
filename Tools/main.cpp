#include "Tools/Run.h"

int main(int argc, char** argv) {
    return Tool::run(argc, argv);
}
