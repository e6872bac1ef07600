// Loads the HTTP library and ends: what a program's start costs in any case.
int main() {}
