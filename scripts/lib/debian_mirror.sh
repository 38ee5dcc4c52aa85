# Where this machine gets Debian's packages from. Sourced by bash after common.sh.
# shellcheck shell=bash

# debian_places : "LABEL URI" of Debian's own among the package sources, as apt reads them; the machine's other
# sources often have suites of the same names. apt knows what is Debian's when it has fetched the lists.
debian_places() {
    # shellcheck disable=SC2016 # apt's own words
    apt-get indextargets --format '$(LABEL) $(REPO_URI)' 'Identifier: Packages' 'Origin: Debian' 'Component: main'
}

# debian_place LABEL : the first such place that a machine without apt's own methods can use; fails without one.
debian_place() {
    debian_places | awk -v label="$1" '$1 == label && $2 ~ /^https?:/ && !found { print $2; found = 1 } END { exit !found }'
}
