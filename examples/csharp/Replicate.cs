// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source. Built for x86, the only platform that can load the component.
//
//   replicate.exe LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run
// went through, 1 when it failed and 2 when it may not run now; every error is shown with its number, source and text.
using System;
using System.Collections;

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

    [STAThread]
    private static int Main(string[] given)
    {
        if (given.Length != 1 && given.Length != 5)
            return Stop(2, "usage: replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]");
        dynamic factory = null;
        try
        {
            factory = Activator.CreateInstance(Type.GetTypeFromProgID("QuinmarkRepDLL.Factory", true));
            Connect(factory, given);
            return Run(factory);
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

    private static void Connect(dynamic factory, string[] given)
    {
        string password = Environment.GetEnvironmentVariable("QUINMARK_PASSWORD") ?? "";
        bool all = given.Length == 5;
        factory.init(OFFICES, "SOURCE", all ? given[2] : "office.", all ? given[1] : "QuinmarkOffice", password,
                     all ? given[4] : "laptop.", all ? given[3] : "QuinmarkLaptop", password, LogLevelDebug, given[0]);
    }

    private static int Run(dynamic factory)
    {
        if (!factory.ensureReplication())
            return Stop(1, "The databases do not belong together: " + factory.sErrorMessage);
        dynamic run = factory.createReplication();
        run.SetReady();
        run.initNextRun(SecondsBetweenAttempts, ProgramVersion);
        if (run.bError)
            return Stop(2, "The last run failed: " + run.sErrorMessage);
        if (!run.bReady)
            return Stop(2, "This site is not ready for a run");

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
        ShowSummary(run, tables);
        factory.resetError();
        return 0;
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

    private static void ShowSummary(dynamic run, ArrayList tables)
    {
        foreach (dynamic table in tables)
            Console.WriteLine($"{table.sTable}: added {table.lCntDestAdd}, updated {table.lCntDestUpdate}, " +
                              $"deleted {table.lCntDestDelete}, conflicts {table.lCntConflict}");
        if (run.bError)
            Console.WriteLine("Recorded: " + run.sErrorMessage);
    }

    private static int Stop(int status, string text)
    {
        Console.WriteLine(text);
        return status;
    }
}
