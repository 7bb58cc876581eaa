#include "app/Main.h"

int main(int argc, char** argv) { return ql::app::Main(argc, argv); }
