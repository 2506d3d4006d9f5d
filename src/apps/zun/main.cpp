// The desktop application.

#include "apps/zun/Application.h"

int main(int argc, char** argv) {
    return zun::runApplication(argc, argv);
}
