#!/usr/bin/perl
# pt-table-sync as a client of the benches: it is loaded, says "begin", waits for a line, runs with the arguments given,
# says "end" and waits for a line.
use strict;
use warnings;

my $differences_found = 2;    # of pt-table-sync's statuses, the other that is no failure

require '/usr/bin/pt-table-sync';
$| = 1;
print "begin\n";
<STDIN>;
my $status = pt_table_sync::main(@ARGV);
print "end status=$status\n";
<STDIN>;
exit($status == $differences_found ? 0 : $status);
