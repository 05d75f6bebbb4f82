#include "assetdata/KUID.h"

int main() { return Vorn::KUID().IsNull() ? 0 : 1; }
