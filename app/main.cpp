#include "shell/run.h"

int main(int argc, char** argv) {
    return torvel::app::run(argc, argv);
}
