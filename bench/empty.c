/* What every program costs: the C library's start and end. */

int main(void) {
    return 0;
}
