// Standard input, output and error of a program that was started without them.
#ifndef RC_LIBNVRAM_STANDARD_DESCRIPTORS_H
#define RC_LIBNVRAM_STANDARD_DESCRIPTORS_H

// Opens /dev/null as each of the descriptors 0 to 2 that is closed. Called first in main: otherwise
// the next file that the program opens becomes its standard output, and what it prints ends up in
// that file.
void open_standard_descriptors();

#endif
