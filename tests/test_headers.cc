// Nothing but the headers, which this program compiles for all test programs.

int main() {
    return 0;
}
