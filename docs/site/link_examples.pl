#!/usr/bin/env perl
# In a guide, turns links to example programs into links to their pages of the site.
while (<>) {
  s{\((?:\.\./)?examples/([\w/]+)\.cpp\)}{
    my $page = $1;
    $page =~ s{/}{_2}g;
    "(${page}_8cpp-example.html)"
  }gex;
  # The licence is no page of the site.
  s{\[([^\]]+)\]\(LICENSE\)}{$1}g;
  print;
}
