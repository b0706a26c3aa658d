-- Stored procedures as functions, so that `{call name(?, ...)}` works over ODBC and OUT parameters come back.
-- Small integers are declared integer: a driver may send either, and PostgreSQL only widens by itself.
-- Texts are cut to their column as a SQL Server parameter is.

create function setReplicationError(p_site integer, p_error_f integer, p_error_text varchar) returns void
    language sql
    begin atomic
        update replication_control
           set error_f = (p_error_f <> 0), error_message = left(p_error_text, 8000)
         where unique_key = p_site;
    end;

-- A text body, because a parsed one takes the inputs after an OUT parameter for one another.
create function InsertReplicationConflict(
    out p_unid uuid,
    p_site integer,
    p_last_replicate_date timestamp,
    p_table_name varchar,
    p_patient_id integer,
    p_guid uuid,
    p_conflict_type integer,
    p_key_info varchar,
    p_source_mod_date timestamp,
    p_destination_mod_date timestamp)
    language sql
    as $$
        insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, patient_id, guid,
                                          conflict_type, key_info, source_mod_date, destination_mod_date)
        values (gen_random_uuid(), p_site, p_last_replicate_date, left(p_table_name, 50), p_patient_id, p_guid,
                p_conflict_type, left(p_key_info, 125), p_source_mod_date, p_destination_mod_date)
        returning unid;
    $$;

create function InsertReplicationConflictData(
    p_conflict_id uuid, p_field_name varchar, p_source_data varchar, p_destination_data varchar) returns void
    language sql
    begin atomic
        insert into replication_conflict_data (conflict_id, field_name, source_data, destination_data)
        values (p_conflict_id, left(p_field_name, 50), left(p_source_data, 3500), left(p_destination_data, 3500));
    end;
