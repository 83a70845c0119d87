# Shows Doxygen the two forms of a C++ operation as one function, whose last argument may be left out.
s/template <class\.\.\. Ec>//
s/, class\.\.\. Ec>/>/
s/Ec&\.\.\. ec/std::error_code\& ec = throws/
