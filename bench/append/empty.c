// The least that a process can cost.
int main(void) { return 0; }
