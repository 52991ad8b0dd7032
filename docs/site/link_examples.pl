#!/usr/bin/env perl
# Gives Doxygen a guide as it understands one: what is written the way that repositories show it.
use strict;
use warnings;

my $name = (split m{/}, $ARGV[0])[-1] =~ s/\.md$//r;
local $/;
$_ = <>;

# Links to example programs become links to their pages of the site.
s{\((?:\.\./)?examples/([\w/]+)\.cpp\)}{
  my $page = $1;
  $page =~ s{/}{_2}g;
  "(${page}_8cpp-example.html)"
}gex;

# The licence is no page of the site.
s{\[([^\]]+)\]\(LICENSE\)}{$1}g;

# A link to a heading, of this page or another: every heading gets a label of the whole site.
s{\]\(([\w-]*)(?:\.md)?#([\w-]+)\)}{"](#" . label($1 || $name, $2) . ")"}ge;
my %seen;
s/^(##+ +(.+))$/labelled($1, $2)/gme;

# Bold text that has code in it stays as it is written otherwise.
s{\*\*((?:(?!\*\*|\n\n|\n[-|]).)*?`(?:(?!\*\*|\n\n|\n[-|]).)*?)\*\*}{<b>$1</b>}gs;

# Two colons in front of a word would be a link to a global name, in code as well.
s{`(::\w+)`}{my $text = $1; $text =~ s/::/&#58;:/; "<code>$text</code>"}ge;

print;

sub label { return lc($_[0]) . "-$_[1]" }

sub labelled {
  my ($line, $title) = @_;
  my $slug = lc $title =~ s/[^\w\s-]//gr =~ s/\s+/-/gr;
  return $seen{$slug}++ ? $line : "$line {#" . label($name, $slug) . "}";
}
