-- One row per replication site: 0 offices, 1 laptop. No unique key: a run counts the rows it updates and
-- reports a site that has two.
create table replication_control (
    unique_key      smallint not null,
    ready_f         boolean,
    error_f         boolean,
    error_message   varchar(8000),
    last_timestamp  timestamp(3),
    next_timestamp  timestamp(3)
);

-- A last_timestamp before every row means: nothing has been replicated yet.
insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp) values
    (0, true, false, '2000-01-01', '2000-01-01'),
    (1, true, false, '2000-01-01', '2000-01-01');
