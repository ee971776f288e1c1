// Arrays from .npy files, the form in which NumPy saves an array.
#pragma once

#include <pyx/pyx.h>

#include <string>

// Reads the array of a .npy file of format version 1.0 in the ordering of the file; an array without dimensions becomes
// a scalar. Memory is taken for the bytes that the file has, whatever its header says. Raises std::runtime_error with
// one line that says what is wrong when the file cannot be read, is damaged, or holds elements that PyxCore does not.
Quorvane::Pyx::ZVariantAbi readNpyFile(const std::string& path);
