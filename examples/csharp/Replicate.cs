// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source. Built for x86, the only platform that can load the component, with its type library, to which
// replicate.csproj refers.
//
//   replicate.exe LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//       [--ready] [--reset-error]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. --ready marks the site ready for
// this run. --reset-error shows and clears the recorded error: give it only after a look at the conflicts, because the
// next run may delete or overwrite their rows. The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md).
using System;
using System.Collections;
using System.Linq;
using QuinmarkRepDLL;

internal static class Replicate
{
    private const short LogLevelDebug = 1;
    private const short SecondsBetweenAttempts = 900;
    private const string ProgramVersion = "3.46";
    private const string NextStep = "Look at the conflicts (cscript conflicts.vbs list --office, or quinrep review) " +
                                    "and settle each one. Only then run with --reset-error.";

    [STAThread]
    private static int Main(string[] given)
    {
        bool ready = given.Contains("--ready");
        bool resetError = given.Contains("--reset-error");
        string[] names = given.Where(argument => argument != "--ready" && argument != "--reset-error").ToArray();
        if (names.Length != 1 && names.Length != 5)
            return Stop(3, "usage: replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] " +
                           "[--ready] [--reset-error]");
        _Factory factory = null;
        try
        {
            factory = new Factory();
            Connect(factory, names);
            return Run(factory, ready, resetError);
        }
        catch (Exception error)
        {
            return Stop(1, "Could not replicate: " + ErrorText(error));
        }
        finally
        {
            if (factory != null)
                factory.disconnect();
        }
    }

    private static void Connect(_Factory factory, string[] names)
    {
        string password = Environment.GetEnvironmentVariable("QUINMARK_PASSWORD") ?? "";
        bool all = names.Length == 5;
        factory.init(enumReplicationUniqueId.OFFICES, "SOURCE",
                     all ? names[2] : "office.", all ? names[1] : "QuinmarkOffice", password,
                     all ? names[4] : "laptop.", all ? names[3] : "QuinmarkLaptop", password, LogLevelDebug, names[0]);
    }

    private static int Run(_Factory factory, bool ready, bool resetError)
    {
        if (!factory.ensureReplication())
            return Stop(1, "The databases do not belong together: " + factory.sErrorMessage);
        _clsReplicate run = factory.createReplication();
        if (ready)
            run.SetReady();
        run.initNextRun(SecondsBetweenAttempts, ProgramVersion);
        if (resetError && run.bError)
        {
            Console.WriteLine("Clearing the recorded error: " + run.sErrorMessage);
            factory.resetError();
            run.initNextRun(SecondsBetweenAttempts, ProgramVersion);
        }
        if (run.bError)
            return Stop(4, "Nothing was run. Recorded: " + run.sErrorMessage + "\n" + NextStep);
        if (!run.bReady)
            return Stop(4, "Nothing was run: this site is not ready; --ready marks it");

        ArrayList tables = CreateTables(factory);
        try
        {
            run.go(tables);
        }
        catch (Exception error)
        {
            return Stop(1, "The run failed: " + ErrorText(error) + RecordError(factory, run));
        }
        ShowSummary(tables);
        return StatusOfRun(run, tables);
    }

    // The error goes into the control record, so that the next attempt and the administrator see it. Tells why it could
    // not.
    private static string RecordError(_Factory factory, _clsReplicate run)
    {
        try
        {
            factory.setError(true, run.sErrorMessage);
            return "";
        }
        catch (Exception error)
        {
            return "\nand it could not be recorded: " + ErrorText(error);
        }
    }

    private static ArrayList CreateTables(_Factory factory)
    {
        return new ArrayList
        {
            Table(factory, enumReplicationMethod.ONE_WAY_DELETE_ALL, "ada_code"),
            Table(factory, enumReplicationMethod.ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id",
                  enumReplicateDeletes.DELETE_WITH_UPDATES),
            Table(factory, enumReplicationMethod.ONE_WAY, "dentist"),
            Table(factory, enumReplicationMethod.ONE_WAY_ALLOW_DELETES, "patient"),
            Table(factory, enumReplicationMethod.ONE_WAY_ALLOW_DELETES, "chart_option", "chart_option_setting")
        };
    }

    private static _clsReplicateTable Table(_Factory factory, enumReplicationMethod method, string name,
                                            string dependent = "", string key = "",
                                            enumReplicateDeletes deletes = enumReplicateDeletes.UNKNOWN)
    {
        return factory.createReplicationTable(method, name, dependent, key, deletes);
    }

    private static void ShowSummary(ArrayList tables)
    {
        foreach (_clsReplicateTable table in tables)
            Console.WriteLine($"{table.sTable}: added {table.lCntDestAdd}, updated {table.lCntDestUpdate}, " +
                              $"deleted {table.lCntDestDelete}, conflicts {table.lCntConflict}");
    }

    // 0, or 2 and what was recorded. The error stays recorded until a person has decided.
    private static int StatusOfRun(_clsReplicate run, ArrayList tables)
    {
        int status = 0;
        if (run.bError)
        {
            status = 2;
            Console.WriteLine("Recorded: " + run.sErrorMessage);
        }
        foreach (_clsReplicateTable table in tables)
        {
            if (table.lCntConflict > 0)
            {
                status = 2;
                Console.WriteLine($"Conflicts in {table.sTable}: {table.lCntConflict}");
            }
        }
        if (status == 2)
            Console.WriteLine(NextStep);
        return status;
    }

    private static string ErrorText(Exception error)
    {
        return $"{error.HResult} (0x{error.HResult:X8}), {error.Source}: {error.Message}";
    }

    private static int Stop(int status, string text)
    {
        Console.WriteLine(text);
        return status;
    }
}
