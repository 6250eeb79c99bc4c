#include "apps/tally/Options.h"
int main(int c, char** v) { tally::Options o; int s = 0; if (!tally::ReadOptions(c, v, o, s)) return s; return 0; }
