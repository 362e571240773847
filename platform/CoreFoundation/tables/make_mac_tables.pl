#!/usr/bin/perl
# Writes CFStringMacTables_data.cpp: the Mac encodings that the system's conversion library lacks,
# out of Perl's Encode.
#
#   perl platform/CoreFoundation/tables/make_mac_tables.pl \
#     > platform/CoreFoundation/CFStringMacTables_data.cpp
#   clang-format is off in the output: it is one row of text for each lead byte.
#
# Encode keeps one byte for each character, the last one, where the Arabic, Farsi and Hebrew sets
# have an ASCII character twice (left-to-right and right-to-left): the first byte is put back. The
# control character 0x7F is missing from all its sets.
use strict;
use warnings;
use Encode;

my @sets = (
  ['MacJapanese', 'MacJapanese'],
  ['MacChineseTrad', 'MacChineseTrad'],
  ['MacKorean', 'MacKorean'],
  ['MacArabic', 'MacArabic'],
  ['MacHebrew', 'MacHebrew'],
  ['MacThai', 'MacThai'],
  ['MacChineseSimp', 'MacChineseSimp'],
  ['MacSymbol', 'MacSymbol'],
  ['MacDingbats', 'MacDingbats'],
  ['MacCroatian', 'MacCroatian'],
  ['MacIcelandic', 'MacIcelandic'],
  ['MacRomanian', 'MacRomanian'],
  ['MacFarsi', 'MacFarsi'],
);

sub decoded {
  my ($encode, $bytes) = @_;
  my $text = eval { decode($encode, $bytes, Encode::FB_CROAK | Encode::LEAVE_SRC) };
  return defined $text && length $text ? $text : undef;
}

sub literal {
  my $out = '';
  my $hex = 0;
  for my $c (map { ord } split //, $_[0]) {
    if ($c == 0x22 || $c == 0x5C) { $out .= '\\' . chr $c; }
    elsif ($c >= 0x20 && $c < 0x7F) { $out .= chr $c; }
    elsif ($c < 0xA0) { $out .= sprintf '\\%03o', $c; }
    elsif ($c > 0xFFFF) { $out .= sprintf '\\U%08X', $c; }
    # Letters and ideographs are themselves; what joins, marks or reorders is spelled out.
    elsif (chr($c) =~ /^[\p{L}]$/ && chr($c) !~ /^(?:\p{Bidi_Class=R}|\p{Bidi_Class=AL})$/
           && $c < 0xF900 && chr($c) !~ /^\p{M}$/ && !($c >= 0x1100 && $c < 0x1200)) {
      $out .= chr $c;
    }
    else { $out .= sprintf '\\u%04X', $c; }
  }
  return qq(u"$out");
}

binmode STDOUT, ':encoding(UTF-8)';
print <<"HEAD";
// Written by tables/make_mac_tables.pl: not to be changed by hand.
#include "platform/CoreFoundation/CFStringMacTables.h"

namespace cftext {

namespace {

// clang-format off
HEAD

my @list;
for my $set (@sets) {
  my ($name, $encode) = @$set;
  my (@rows, @sequences);
  my $row = sub {
    my ($lead, @texts) = @_;
    my ($first, $last);
    for my $b (0 .. 255) {
      next unless defined $texts[$b];
      $first //= $b;
      $last = $b;
    }
    return unless defined $first;
    my $units = '';
    for my $b ($first .. $last) {
      my $text = $texts[$b];
      if (!defined $text) { $units .= "\x{FFFF}"; }
      elsif (length $text == 1 && ord $text < 0x10000) { $units .= $text; }
      else {
        $units .= "\x{FFFE}";
        push @sequences, [($lead << 8) | $b, $text];
      }
    }
    push @rows, sprintf '    {0x%02X, 0x%02X, %d, %s},', $lead, $first, $last - $first + 1,
      literal($units);
  };
  my @single = map { decoded($encode, chr $_) } ();
  for my $b (0 .. 255) {
    my $text = decoded($encode, chr $b);
    $text = chr $b if !defined $text && $b < 0x80;
    $single[$b] = $text;
  }
  $row->(0, @single);
  for my $lead (0x80 .. 255) {
    next if defined $single[$lead];
    $row->($lead, map { decoded($encode, chr($lead) . chr($_)) } 0 .. 255);
  }
  print "constexpr MacRow k${name}Rows[] = {\n", join("\n", @rows), "\n};\n";
  if (@sequences) {
    print "constexpr MacSequence k${name}Sequences[] = {\n";
    printf "    {0x%04X, %s},\n", $_->[0], literal($_->[1]) for @sequences;
    print "};\n";
  }
  push @list, sprintf '    {kCFStringEncoding%s, k%sRows, %s},', $name, $name,
    @sequences ? "k${name}Sequences" : '{}';
}

print "// clang-format on\n\n}  // namespace\n\nstd::span<const MacTable> AllMacTables() {\n";
print "  static constexpr MacTable kTables[] = {\n", join("\n", @list), "\n  };\n";
print "  return kTables;\n}\n\n}  // namespace cftext\n";
