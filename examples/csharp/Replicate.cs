// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source. Built for x86, the only platform that can load the component.
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

internal static class Replicate
{
    private const int OFFICES = 0;
    private const int ONE_WAY_DELETE_ALL = 1;
    private const int ONE_WAY = 2;
    private const int ONE_WAY_ALLOW_DELETES = 3;
    private const int ONE_WAY_WITH_PK_FIELD = 7;
    private const int DELETE_WITH_UPDATES = 2;
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
        dynamic factory = null;
        try
        {
            factory = Activator.CreateInstance(Type.GetTypeFromProgID("QuinmarkRepDLL.Factory", true));
            Connect(factory, names);
            return Run(factory, ready, resetError);
        }
        catch (Exception error)
        {
            return Stop(1, "Could not replicate: " +
                           $"{error.HResult} (0x{error.HResult:X8}), {error.Source}: {error.Message}");
        }
        finally
        {
            if (factory != null)
                factory.disconnect();
        }
    }

    private static void Connect(dynamic factory, string[] names)
    {
        string password = Environment.GetEnvironmentVariable("QUINMARK_PASSWORD") ?? "";
        bool all = names.Length == 5;
        factory.init(OFFICES, "SOURCE", all ? names[2] : "office.", all ? names[1] : "QuinmarkOffice", password,
                     all ? names[4] : "laptop.", all ? names[3] : "QuinmarkLaptop", password, LogLevelDebug, names[0]);
    }

    private static int Run(dynamic factory, bool ready, bool resetError)
    {
        if (!factory.ensureReplication())
            return Stop(1, "The databases do not belong together: " + factory.sErrorMessage);
        dynamic run = factory.createReplication();
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
        catch (Exception)
        {
            // Into the control record first, so that the next attempt and the administrator see it.
            factory.setError(true, run.sErrorMessage);
            throw;
        }
        ShowSummary(tables);
        return StatusOfRun(run, tables);
    }

    private static ArrayList CreateTables(dynamic factory)
    {
        var tables = new ArrayList();
        tables.Add(factory.createReplicationTable(ONE_WAY_DELETE_ALL, "ada_code", ""));
        tables.Add(factory.createReplicationTable(ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id",
                                                  DELETE_WITH_UPDATES));
        tables.Add(factory.createReplicationTable(ONE_WAY, "dentist", ""));
        tables.Add(factory.createReplicationTable(ONE_WAY_ALLOW_DELETES, "patient", ""));
        tables.Add(factory.createReplicationTable(ONE_WAY_ALLOW_DELETES, "chart_option", "chart_option_setting"));
        return tables;
    }

    private static void ShowSummary(ArrayList tables)
    {
        foreach (dynamic table in tables)
            Console.WriteLine($"{table.sTable}: added {table.lCntDestAdd}, updated {table.lCntDestUpdate}, " +
                              $"deleted {table.lCntDestDelete}, conflicts {table.lCntConflict}");
    }

    // 0, or 2 and what was recorded. The error stays recorded until a person has decided.
    private static int StatusOfRun(dynamic run, ArrayList tables)
    {
        int status = 0;
        if (run.bError)
        {
            status = 2;
            Console.WriteLine("Recorded: " + run.sErrorMessage);
        }
        foreach (dynamic table in tables)
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

    private static int Stop(int status, string text)
    {
        Console.WriteLine(text);
        return status;
    }
}
