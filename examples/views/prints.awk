# What the comment at the head of an example says that it prints.
/^ \* Prints:$/ { inside = 1; next }
/^ \*\/$/ { exit }
inside { print substr($0, 6) }
