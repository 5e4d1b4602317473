#include "autoresponder/run/run.h"

int main(int /*argc*/, char* argv[]) {
  run(argv[0]);
}
